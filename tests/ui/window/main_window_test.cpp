// SPDX-License-Identifier: GPL-3.0-or-later
// The real window over the real program: real media, decoders, threads and files.
#include "ui/window/main_window.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMessageBox>
#include <QMimeData>
#include <QStackedWidget>
#include <QTableView>
#include <QUrl>
#include <fstream>
#include <optional>

#include "core/configuration.h"
#include "platform/data_session.h"
#include "platform/qt_main_queue.h"
#include "storage/results_journal.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"
#include "ui/dialog_driver.h"
#include "ui/folders/folders_view.h"
#include "ui/table/table_view.h"
#include "ui/window/status_view.h"

namespace quill {
namespace {

using test::CDialogDriver;

constexpr const char* kSongs[] = {"otter",  "bramble", "quartz",  "lantern", "sickle", "meadow",
                                  "harbor", "juniper", "volcano", "pewter",  "canyon", "thistle"};
constexpr size_t kCount = std::size(kSongs);

// Every song twice. Long enough that no scan of them ends by itself between two steps of a test.
const std::string& MusicFolder() {
  static const test::CTempFolder folder;
  static const bool made = [] {
    for (uint32_t song = 0; song < kCount; ++song) {
      const std::vector<float> samples = test::Music(song + 1, 60, 22050, 1);
      for (const std::string copy : {"a", "b"}) {
        std::filesystem::create_directory(folder / copy);
        test::WriteWav(folder / (copy + "/" + kSongs[song] + ".wav"), samples, 22050, 1);
      }
    }
    return true;
  }();
  (void)made;
  return folder.Path();
}

template <class Done>
bool WaitFor(Done done) {
  QElapsedTimer clock;
  clock.start();
  QTimer wakeUp;
  wakeUp.start(10);
  while (!done() && clock.elapsed() < 120000)
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  return done();
}

class MainWindowTest : public testing::Test {
 protected:
  void Open(const std::vector<std::string>& given = {}) {
    Make();
    m_window->Start(given);
    ASSERT_TRUE(WaitFor([&] { return Delegate().AudioDups().m_journal != nullptr; }));
    QCoreApplication::processEvents();
  }
  void Make() {
    m_session.emplace();
    ASSERT_EQ(m_session->Open(CUserFolders::Under(m_data.Path())), CDataLock::Result::kLocked);
    // One slow thread: a scan lasts for many steps of a test.
    CConfiguration::Instance().SetBool("enableThreadLimit", true);
    m_queue.emplace();
    m_window = std::make_unique<TDXMainWindow>(*m_queue);
  }
  void Close() {
    if (!m_window) return;
    m_window->close();
    m_window.reset();
    m_queue.reset();
    m_session.reset();
    // The end of the program must not hold for the rest of the tests.
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QApplication::exec();
  }
  void TearDown() override { Close(); }

  TDXAppDelegate& Delegate() { return m_window->Delegate(); }
  QAction* Action(const char* name) {
    auto* action = m_window->findChild<QAction*>(name);
    if (!action) throw std::runtime_error(name);
    return action;
  }
  bool IsEnabled(const char* name) { return Action(name)->isEnabled(); }
  QString Button() { return Action("scan")->text().remove('&'); }
  void AddMusic() {
    m_window->findChild<TDXFoldersView*>()->AddNewPath(MusicFolder(), 0);
    QCoreApplication::processEvents();
  }
  std::vector<std::string> Folders() {
    std::vector<std::string> paths;
    for (const auto& folder : m_window->findChild<TDXFoldersView*>()->UnloadList())
      paths.push_back(folder.path);
    return paths;
  }
  void Scan() { Action("scan")->trigger(); }
  bool ScanEnds() {
    return WaitFor([&] { return Delegate().IsIdle() && Button() == "Scan"; });
  }
  size_t Pairs() { return Delegate().AudioDups().PairCount(); }

  const test::CTempFolder m_data;
  std::optional<CDataSession> m_session;
  std::optional<CQtMainQueue> m_queue;
  std::unique_ptr<TDXMainWindow> m_window;
};

TEST_F(MainWindowTest, ScansSavesOpensAndExports) {
  Open();
  auto* mode = m_window->findChild<QComboBox*>();
  for (const char* name : {"scan", "stop", "findDuplicates", "analyse", "save", "export"})
    EXPECT_FALSE(IsEnabled(name)) << name;
  AddMusic();
  EXPECT_TRUE(IsEnabled("scan"));
  EXPECT_TRUE(IsEnabled("findDuplicates"));
  EXPECT_FALSE(IsEnabled("stop"));

  Scan();
  EXPECT_EQ(Button(), "Pause");
  EXPECT_TRUE(IsEnabled("stop"));
  EXPECT_FALSE(IsEnabled("findDuplicates"));
  EXPECT_FALSE(mode->isEnabled());
  ASSERT_TRUE(ScanEnds());
  EXPECT_TRUE(mode->isEnabled());
  EXPECT_TRUE(IsEnabled("findDuplicates"));
  EXPECT_FALSE(IsEnabled("stop"));
  EXPECT_EQ(Pairs(), kCount);
  const QStringList status = m_window->findChild<TDXStatusView*>()->Texts();
  EXPECT_TRUE(status.contains("New: 24/24")) << status.join('|').toStdString();

  Action("tabAudio")->trigger();
  EXPECT_TRUE(IsEnabled("save"));
  const auto* table = m_window->findChild<QStackedWidget*>()->currentWidget();
  EXPECT_EQ(table->findChild<QTableView*>()->model()->rowCount(), static_cast<int>(2 * kCount));
  EXPECT_TRUE(IsEnabled("export"));
  {
    CDialogDriver dialogs;
    dialogs.ChooseFile(m_data / "march.2024");
    Action("export")->trigger();
    // The name that was typed decides, and not the format that is chosen.
    dialogs.ChooseFile(m_data / "march.HTML");
    Action("export")->trigger();
    dialogs.ChooseFile(m_data / "march.2024");
    Action("save")->trigger();
  }
  EXPECT_EQ(test::ReadAll(m_data / "march.HTML").find("<!DOCTYPE html>"), 0U);
  EXPECT_NE(test::ReadAll(m_data / "march.2024.csv").find(MusicFolder() + "/a/otter.wav"),
            std::string::npos);
  const std::string results = m_data / "march.2024.quillmarsh";
  EXPECT_TRUE(CResultsJournal::IsResultsFile(results)) << "a first save asks for the name";
  EXPECT_TRUE(IsEnabled("save"));

  Delegate().AudioDups().Clear();
  Action("save")->trigger();
  const std::string empty = test::ReadAll(results);
  {
    CDialogDriver dialogs;
    dialogs.ChooseFile(m_data / "other");
    Action("saveAs")->trigger();
  }
  EXPECT_EQ(empty, test::ReadAll(m_data / "other.quillmarsh")) << "save writes to the same file";
}

TEST_F(MainWindowTest, OpensAFileOfTheCommandLineAndOneThatIsDropped) {
  Open();
  AddMusic();
  Scan();
  ASSERT_TRUE(ScanEnds());
  const std::string results = m_data / "r.quillmarsh";
  ASSERT_TRUE(Delegate().SaveData(results));
  Delegate().AudioDups().Clear();
  Close();

  Open({results});
  ASSERT_TRUE(WaitFor([&] { return Pairs() != 0; }));
  EXPECT_EQ(Pairs(), kCount);
  EXPECT_TRUE(IsEnabled("save"));
  Delegate().AudioDups().Clear();

  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(QString::fromStdString(results)),
                QUrl::fromLocalFile(QString::fromStdString(m_data / "dropped"))});
  std::filesystem::create_directory(m_data / "dropped");
  QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
  QCoreApplication::sendEvent(m_window.get(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
  QCoreApplication::sendEvent(m_window.get(), &drop);
  ASSERT_TRUE(WaitFor([&] { return Pairs() == kCount; }));
  EXPECT_EQ(Folders().size(), 2U) << "and a folder that is dropped with it";
  Delegate().AudioDups().Clear();
  m_window->BringForward({results});
  ASSERT_TRUE(WaitFor([&] { return Pairs() == kCount; }))
      << "as a second start of the program does";
}

TEST_F(MainWindowTest, FoldersGivenFromOutsideGoIntoTheList) {
  for (const char* name : {"one", "two", "two/deep"})
    std::filesystem::create_directory(m_data / name);
  {
    CDialogDriver dialogs;
    dialogs.Answer("novel.txt” is not there", "OK");
    Open({m_data / "one", m_data / "novel.txt"});
    ASSERT_TRUE(WaitFor([&] { return !QApplication::activeModalWidget(); }));
  }
  EXPECT_EQ(Folders(), std::vector<std::string>{m_data / "one"});
  Action("tabAudio")->trigger();
  m_window->BringForward({m_data / "two", m_data / "two/deep"});
  ASSERT_TRUE(WaitFor([&] { return Action("tabFolders")->isChecked(); }));
  EXPECT_EQ(Folders(), (std::vector<std::string>{m_data / "one", m_data / "two"}));
  EXPECT_TRUE(IsEnabled("scan"));
}

TEST_F(MainWindowTest, SecondStartsWaitForTheDialogThatIsOpen) {
  std::filesystem::create_directory(m_data / "folder");
  Open();
  QEventLoop program;  // as in the program, the loop of a dialog runs inside another one
  size_t most = 0, seen = 0;
  QStringList told;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, &look, [&] {
    QList<QMessageBox*> open;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
      auto* box = qobject_cast<QMessageBox*>(widget);
      if (box && box->isVisible()) open.append(box);
    }
    most = std::max(most, static_cast<size_t>(open.size()));
    if (open.isEmpty()) return;
    if (++seen == 1) {
      m_window->BringForward({m_data / "second"});
      m_window->BringForward({m_data / "third", m_data / "folder", m_data / "second"});
    }
    if (seen < 20) return;
    EXPECT_EQ(Folders().empty(), told.isEmpty()) << "taken inside of the dialog";
    told.append(open.last()->text());
    open.last()->reject();
    if (told.size() == 2) program.quit();
  });
  look.start(20);
  QTimer::singleShot(0, &look, [&] { m_window->BringForward({m_data / "first"}); });
  QTimer::singleShot(20000, &program, &QEventLoop::quit);
  program.exec();
  EXPECT_EQ(most, 1U);
  ASSERT_EQ(told.size(), 2);
  EXPECT_TRUE(told[0].contains("first"));
  EXPECT_EQ(told[1].count("second"), 1) << told[1].toStdString();
  EXPECT_TRUE(told[1].contains("third"));
  EXPECT_EQ(Folders(), std::vector<std::string>{m_data / "folder"});
}

TEST_F(MainWindowTest, PausesContinuesAndStops) {
  Open();
  AddMusic();
  Scan();
  Scan();
  ASSERT_EQ(Button(), "Continue");
  EXPECT_FALSE(m_window->findChild<QComboBox*>()->isEnabled());
  EXPECT_FALSE(IsEnabled("findDuplicates"));
  EXPECT_TRUE(IsEnabled("stop"));
  Scan();
  ASSERT_EQ(Button(), "Pause");
  Scan();
  ASSERT_EQ(Button(), "Continue");
  Action("stop")->trigger();
  ASSERT_TRUE(ScanEnds()) << "a stop out of a pause ends the scan too";
  EXPECT_LT(Pairs(), kCount);
  const QStringList status = m_window->findChild<TDXStatusView*>()->Texts();
  EXPECT_TRUE(status.at(2).startsWith("Stopped: ")) << status.join('|').toStdString();
  EXPECT_NE(status.at(3), "100.0%");
  QCoreApplication::processEvents();
  Scan();
  ASSERT_TRUE(ScanEnds());
  EXPECT_EQ(Pairs(), kCount) << "a new scan begins afresh";
}

TEST_F(MainWindowTest, AScanThatTheEndCutShortGoesOnAtTheNextStart) {
  Open();
  AddMusic();
  Scan();
  ASSERT_FALSE(Delegate().IsIdle());
  Close();
  Open();
  EXPECT_EQ(Button(), "Pause") << "it goes on without a question";
  ASSERT_TRUE(ScanEnds());
  EXPECT_EQ(Pairs(), kCount);
  EXPECT_TRUE(IsEnabled("scan")) << "the folders are still chosen";
}

TEST_F(MainWindowTest, AnEndRightAfterTheStartKeepsTheWorkThatWasLeft) {
  Open();
  AddMusic();
  Scan();
  Close();
  Make();
  m_window->Start({});
  Close();
  Open();
  EXPECT_EQ(Button(), "Pause");
  ASSERT_TRUE(ScanEnds());
  EXPECT_EQ(Pairs(), kCount);
}

TEST_F(MainWindowTest, AScanLeavesOutFoldersThatAreAwayAndSaysSo) {
  Open();
  auto* list = m_window->findChild<TDXFoldersView*>();
  std::filesystem::create_directory(m_data / "disk");
  list->AddNewPath(m_data / "disk", 0);
  AddMusic();
  std::filesystem::remove(m_data / "disk");
  Scan();
  ASSERT_TRUE(ScanEnds());
  EXPECT_EQ(Pairs(), kCount);
  const auto status = [&] { return m_window->findChild<TDXStatusView*>()->Texts().first(); };
  EXPECT_TRUE(status().contains("disk”, which is away")) << status().toStdString();

  for (QAction* action : list->MenuActions())
    if (action->text().remove('&') == "Clear List") action->trigger();
  list->AddNewPath(m_data / "disk", 0);
  {
    CDialogDriver dialogs;
    dialogs.Answer("None of the folders", "OK");
    Scan();
  }
  EXPECT_EQ(Pairs(), kCount) << "a scan of nothing costs no results";
  std::filesystem::create_directory(m_data / "disk");
  Scan();
  ASSERT_TRUE(ScanEnds());
  EXPECT_EQ(Pairs(), 0U);
  EXPECT_EQ(status(), "");
}

TEST_F(MainWindowTest, AnEmptyTableSaysWhyItIsEmpty) {
  const auto says = [&](const char* tab) {
    Action(tab)->trigger();
    const auto* view = m_window->findChild<QStackedWidget*>()->currentWidget();
    return view->findChild<TDXTableView*>()->Hint().toStdString();
  };
  const auto says3 = [&](const std::string& audio, const std::string& image,
                         const std::string& quality) {
    EXPECT_NE(says("tabAudio").find(audio), std::string::npos) << says("tabAudio");
    EXPECT_NE(says("tabImages").find(image), std::string::npos) << says("tabImages");
    EXPECT_NE(says("tabAnalysis").find(quality), std::string::npos) << says("tabAnalysis");
  };
  Open();
  says3("Add folders in the first tab and press Scan", "No search for image duplicates yet",
        "Add folders in the first tab, choose the mode Analyse");
  m_window->findChild<TDXFoldersView*>()->AddNewPath(MusicFolder() + "/a", 0);
  says3("yet. Press Scan.", "yet. Press Scan.", "Choose the mode Analyse");
  Scan();
  says3("Looking for files that sound", "Looking for pictures", "looks for duplicates");
  ASSERT_TRUE(WaitFor([&] { return Delegate().Counters().scheduled == kCount; }));
  Scan();
  says3("paused", "paused", "looks for duplicates");
  Action("stop")->trigger();
  ASSERT_TRUE(ScanEnds());
  says3("was stopped and had found no audio", "was stopped and had found no image", "yet");
  Scan();
  ASSERT_TRUE(ScanEnds());
  says3("No duplicates among 12 sounds.", "There are no pictures in", "No file has been rated yet");

  AddMusic();
  Scan();
  ASSERT_TRUE(ScanEnds());
  ASSERT_TRUE(Delegate().SaveData(m_data / "r.quillmarsh"));
  Delegate().AudioDups().Clear();
  EXPECT_NE(says("tabAudio").find("Nothing is left"), std::string::npos);
  ASSERT_TRUE(Delegate().LoadData(m_data / "r.quillmarsh"));
  EXPECT_NE(says("tabImages").find("results file"), std::string::npos);
}

TEST_F(MainWindowTest, LeavesForeignFilesAlone) {
  const std::string foreign = m_data / "novel.quillmarsh";
  test::WriteAll(foreign, "Chapter one.");
  Open();
  CDialogDriver dialogs;
  dialogs.ChooseFile(foreign);
  dialogs.Answer("Failed to open results file", "OK");
  Action("open")->trigger();
  dialogs.Answer("is no results file", "OK");
  Action("save")->trigger();

  dialogs.ChooseFile(m_data / "novel");
  dialogs.Answer("exists already", "Replace");
  dialogs.Answer("is no results file", "OK");
  Action("saveAs")->trigger();
  EXPECT_EQ(test::ReadAll(foreign), "Chapter one.");

  // No for an answer leads back to the choice.
  const std::string list = m_data / "list.csv";
  test::WriteAll(list, "mine");
  Action("tabAudio")->trigger();
  dialogs.ChooseFile(m_data / "list");
  dialogs.Answer("exists already", "");
  dialogs.Do([](QWidget* dialog) { dialog->close(); });
  Action("export")->trigger();
  EXPECT_EQ(test::ReadAll(list), "mine");
}

TEST_F(MainWindowTest, ProposesAFolderThatIsThereAndAName) {
  const test::CTempFolder home;
  const QByteArray before = qgetenv("HOME");
  qputenv("HOME", QByteArray::fromStdString(home.Path()));
  Open();
  Action("tabImages")->trigger();
  const auto trigger = [&](const char* action, const std::string& folder, const char* name) {
    CDialogDriver dialogs;
    dialogs.Do([&](QWidget* widget) {
      auto* const dialog = qobject_cast<QFileDialog*>(widget);
      ASSERT_TRUE(dialog);
      EXPECT_EQ(dialog->directory().path().toStdString(), folder);
      EXPECT_EQ(dialog->findChild<QLineEdit*>()->text(), name);
      dialog->close();
    });
    Action(action)->trigger();
  };
  trigger("export", home.Path(), "Image duplicates");
  std::filesystem::create_directory(home / "Documents");
  trigger("saveAs", home / "Documents", "Quillmarsh results");
  qputenv("HOME", before);
}

TEST_F(MainWindowTest, ComesBackAsItWas) {
  Open();
  Action("tabImages")->trigger();
  Action("modeAnalyse")->trigger();
  const QSize size(780, 640);  // no larger than the screen, which a restore would not exceed
  m_window->resize(size);
  Close();
  Open();
  EXPECT_TRUE(Action("tabImages")->isChecked());
  EXPECT_EQ(m_window->findChild<QStackedWidget*>()->currentIndex(), 2);
  EXPECT_TRUE(Action("modeAnalyse")->isChecked());
  EXPECT_EQ(m_window->findChild<QComboBox*>()->currentText(), "Analyse");
  EXPECT_EQ(m_window->size(), size);
}

}  // namespace
}  // namespace quill
