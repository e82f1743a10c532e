// SPDX-License-Identifier: GPL-3.0-or-later
// Drives the real window over generated media and writes what it shows as pictures: every tab and
// window, light and dark. Started by docs/screenshots.sh, on the offscreen platform.
//
// Usage: screenshots FOLDER
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QStyle>
#include <QTableView>
#include <QTextBrowser>
#include <QTimer>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <filesystem>

#include "core/base64m.h"
#include "core/configuration.h"
#include "platform/data_session.h"
#include "platform/qt_main_queue.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"
#include "ui/preferences/preferences_window.h"
#include "ui/window/main_window.h"

namespace {

using namespace quill;

std::string s_target;
std::string s_suffix;

void Settle(int milliseconds) {
  QElapsedTimer clock;
  clock.start();
  while (clock.elapsed() < milliseconds) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

void Shoot(QWidget& widget, const std::string& name) {
  Settle(300);
  widget.grab().save(QString::fromStdString(s_target + "/" + name + s_suffix + ".png"));
  std::printf("%s%s.png\n", name.c_str(), s_suffix.c_str());
}

// As large as a page of the help has room for.
void ShootSmall(QWidget& window, const std::string& name, int height) {
  const QSize before = window.size();
  window.resize(660, height);
  Shoot(window, name);
  window.resize(before);
}

void MakeMedia(const std::string& folder) {
  const char* const songs[] = {"Lanterns", "Low Tide", "Reed Organ", "Slow Ferry"};
  for (uint32_t i = 0; i < std::size(songs); ++i) {
    const std::string wav = folder + "/source.wav";
    test::WriteWav(wav, test::Music(i + 1, 40, 44100, 2), 44100, 2);
    const std::string tags = std::string("-metadata title='") + songs[i] +
                             "' -metadata artist='The Harbour Band' -metadata album=Estuary";
    test::Encode(wav, folder + "/Music/" + songs[i] + ".flac", tags);
    test::Encode(wav, folder + "/Phone/" + songs[i] + ".mp3", tags + " -b:a 96k");
    if (i % 2 == 0)
      test::Encode(wav,
                   folder + "/Old disc/" + (i == 0 ? "track01" : "side B, third song") + ".ogg",
                   "-ac 1 -q:a 0");
    std::filesystem::remove(wav);
  }
  for (int i = 0; i < 3; ++i) {
    QImage picture(1200, 800, QImage::Format_RGB32);
    QPainter painter(&picture);
    QLinearGradient sky(0, 0, 0, 800);
    sky.setColorAt(0, QColor::fromHsv(200 + 20 * i, 120, 240));
    sky.setColorAt(1, QColor::fromHsv(30 + 25 * i, 120, 230));
    painter.fillRect(picture.rect(), sky);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int hill = 0; hill < 5; ++hill) {
      painter.setBrush(QColor::fromHsv(90 + 30 * i, 90 + 20 * hill, 190 - 30 * hill));
      painter.drawEllipse(QPoint((hill * 397 + i * 211) % 1200, 640 + 70 * hill), 420, 220);
    }
    painter.setBrush(QColor(255, 240, 200));
    painter.drawEllipse(QPoint(250 + 300 * i, 180), 70, 70);
    painter.end();
    const QString base =
        QString::fromStdString(folder) + "/Pictures/marsh " + QString::number(i + 1);
    std::filesystem::create_directories(folder + "/Pictures");
    picture.save(base + ".png");
    picture.scaled(600, 400, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .save(base + " small.jpg");
    if (i == 0) picture.transformed(QTransform().rotate(90)).save(base + " turned.jpg");
  }
}

QPalette DarkPalette() {
  QPalette dark;
  dark.setColor(QPalette::Window, QColor(45, 45, 48));
  dark.setColor(QPalette::WindowText, QColor(225, 225, 225));
  dark.setColor(QPalette::Base, QColor(30, 30, 32));
  dark.setColor(QPalette::AlternateBase, QColor(38, 38, 40));
  dark.setColor(QPalette::Text, QColor(225, 225, 225));
  dark.setColor(QPalette::Button, QColor(55, 55, 58));
  dark.setColor(QPalette::ButtonText, QColor(225, 225, 225));
  dark.setColor(QPalette::ToolTipBase, QColor(55, 55, 58));
  dark.setColor(QPalette::ToolTipText, QColor(225, 225, 225));
  dark.setColor(QPalette::Highlight, QColor(52, 120, 190));
  dark.setColor(QPalette::HighlightedText, Qt::white);
  dark.setColor(QPalette::Link, QColor(90, 160, 240));
  dark.setColor(QPalette::PlaceholderText, QColor(140, 140, 140));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    dark.setColor(QPalette::Disabled, role, QColor(120, 120, 120));
  return dark;
}

// The windows that are open besides the main one, by their titles.
void ShootOthers(const QWidget& window, const std::string& name) {
  Settle(400);
  for (QWidget* other : QApplication::topLevelWidgets()) {
    if (other == &window || !other->isVisible() || qobject_cast<QMenu*>(other)) continue;
    Shoot(*other, name);
    other->close();
  }
}

QAction* ActionOf(const QWidget& window, const QString& text) {
  for (QAction* action : window.findChildren<QAction*>())
    if (action->isEnabled() && action->text().remove('&').startsWith(text)) return action;
  std::fprintf(stderr, "no action %s\n", qPrintable(text));
  return nullptr;
}

// The window that an action opens and waits for.
void ShootModal(QWidget& window, const QString& action, const std::string& name) {
  QTimer::singleShot(700, &window, [&] {
    if (QWidget* dialog = QApplication::activeModalWidget()) {
      Shoot(*dialog, name);
      dialog->close();
    }
  });
  ActionOf(window, action)->trigger();
}

void Run(const std::string& media) {
  const test::CTempFolder data;
  CDataSession session;
  if (session.Open(CUserFolders::Under(data.Path())) != CDataLock::Result::kLocked) std::exit(1);
  std::vector<std::string> folders;
  for (const char* name : {"/Music", "/Old disc", "/Phone", "/Pictures"}) {
    const std::string path = media + name;
    std::string text;
    if (!EncodeBase64M({path.begin(), path.end()}, 0, &text)) std::exit(1);
    folders.push_back(text);
  }
  folders.insert(folders.begin() + 1, "1");
  CConfiguration::Instance().SetList("selectedBookmarks", folders);
  CQtMainQueue queue;
  TDXMainWindow window(queue);
  window.Start({});
  Settle(500);
  const auto scan = [&](const QString& action) {
    ActionOf(window, action)->trigger();
    Settle(300);
    while (!window.Delegate().IsIdle()) Settle(50);
    Settle(300);
  };
  Shoot(window, "folders");
  scan("Find Duplicates");
  scan("Analyse Quality");
  const auto select = [&](int row) {
    for (QTableView* table : window.findChildren<QTableView*>())
      if (table->isVisible()) table->setCurrentIndex(table->model()->index(row, 0));
  };
  ActionOf(window, "Audio")->trigger();
  select(0);
  for (QTableView* table : window.findChildren<QTableView*>()) {
    if (!table->isVisible()) continue;
    QKeyEvent right(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
    QCoreApplication::sendEvent(table, &right);
  }
  Shoot(window, "audio");
  ShootSmall(window, "small-groups", 330);
  ShootModal(window, "Edit Tags", "tags");
  ShootModal(window, "Automark", "automark");
  for (QTableView* table : window.findChildren<QTableView*>())
    if (table->isVisible()) table->selectAll();
  ShootModal(window, "Move to Trash", "trash");
  ActionOf(window, "Images")->trigger();
  select(1);
  Settle(1500);
  Shoot(window, "images");
  ShootSmall(window, "small-images", 380);
  ActionOf(window, "Quality")->trigger();
  Shoot(window, "quality");
  ShootSmall(window, "small-quality", 330);
  select(3);
  for (const char* text : {"Spectrogram", "Sonogram"}) {
    ActionOf(window, text)->trigger();
    Settle(1500);
    for (QMainWindow* shown : window.findChildren<QMainWindow*>())
      ShootSmall(*shown, "small-" + QString(text).toLower().toStdString(), 400);
    ShootOthers(window, QString(text).toLower().toStdString());
  }
  ActionOf(window, "Preferences")->trigger();
  Settle(300);
  for (const char* page : {"", "-decoders", "-miscellaneous", "-device"}) {
    QWidget* const preferences = window.findChild<TDXPreferencesWindow*>();
    auto* const titles = preferences->findChild<QListWidget*>();
    if (*page != 0) titles->setCurrentRow(titles->currentRow() + 1);
    Shoot(*preferences, std::string("preferences") + page);
    if (std::string(page) == "-device") preferences->close();
  }
  ActionOf(window, "Quillmarsh Help")->trigger();
  Settle(300);
  auto* const pages = window.findChild<QTextBrowser*>();
  for (const char* page : {"index", "scores", "groups", "automark", "quality", "files", "tags",
                           "keeping", "terminal"}) {
    pages->setSource(QUrl(QString("qrc:/help/") + page + ".md"), QTextDocument::MarkdownResource);
    Shoot(*pages->window(), std::string("help-") + page);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: screenshots FOLDER\n");
    return 2;
  }
  std::signal(SIGPIPE, SIG_IGN);
  QApplication application(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  QApplication::setStyle("Fusion");
  QApplication::setQuitOnLastWindowClosed(false);
  s_target = argv[1];
  // A name to look at, unlike that of a temporary folder.
  const std::string media = std::filesystem::temp_directory_path() / "Collection";
  if (!std::filesystem::create_directory(media)) {
    std::fprintf(stderr, "%s is there already\n", media.c_str());
    return 1;
  }
  MakeMedia(media);
  const QPalette light = QApplication::palette();
  for (const bool dark : {false, true}) {
    QApplication::setPalette(dark ? DarkPalette() : light);
    s_suffix = dark ? "-dark" : "";
    Run(media);
  }
  std::filesystem::remove_all(media);
  return 0;
}
