// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/file_questions.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <atomic>
#include <thread>

#include "ui/widgets/path_text.h"

namespace quill {

namespace {

constexpr int kAppearsAfterMs = 400;
constexpr int kNameWidth = 440;

}  // namespace

// One list of files on its way. Input waits until the dialog appears, which then is the only window
// that takes any.
class CWindowQuestions::Progress {
 public:
  explicit Progress(QWidget* window)
      : m_dialog(window), m_bar(new QProgressBar), m_name(new QLabel), m_buttons(Buttons()) {
    m_dialog.setWindowTitle(QObject::tr("Working on files"));
    m_dialog.setWindowModality(Qt::WindowModal);
    m_dialog.setMinimumWidth(kNameWidth + 40);
    auto* layout = new QVBoxLayout(&m_dialog);
    m_name->setTextFormat(Qt::PlainText);
    // A long name does not widen the dialog, nor a short one narrow it.
    m_name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_bar->setFormat(QObject::tr("%v of %m"));
    layout->addWidget(m_name);
    layout->addWidget(m_bar);
    layout->addWidget(m_buttons);
    QObject::connect(m_buttons, &QDialogButtonBox::rejected, &m_dialog, [this] { Stop(); });
    // The cross of the frame and Escape ask for the same as the button.
    QObject::connect(&m_dialog, &QDialog::rejected, &m_dialog, [this] {
      Stop();
      if (!m_ended) m_dialog.show();
    });
    m_appear.setSingleShot(true);
    QObject::connect(&m_appear, &QTimer::timeout, &m_dialog, [this] {
      m_dialog.show();
      m_loop.quit();  // to go on with input
    });
    m_appear.start(kAppearsAfterMs);
  }
  ~Progress() { m_ended = true; }

  bool Perform(const QString& path, size_t index, size_t count, const std::function<void()>& work) {
    if (m_stopped) return false;
    m_bar->setRange(0, static_cast<int>(count));
    m_bar->setValue(static_cast<int>(index));
    m_name->setText(m_name->fontMetrics().elidedText(path, Qt::ElideMiddle, kNameWidth));
    std::atomic<bool> done = false;
    std::thread worker([&] {
      work();
      done = true;
      QMetaObject::invokeMethod(&m_loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    while (!done) {
      m_loop.exec(m_dialog.isVisible() ? QEventLoop::AllEvents
                                       : QEventLoop::ExcludeUserInputEvents);
    }
    worker.join();
    return true;
  }
  void Stop() {
    m_stopped = true;
    m_buttons->setEnabled(false);
  }

 private:
  static QDialogButtonBox* Buttons() {
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(QObject::tr("Stop"), QDialogButtonBox::RejectRole);
    return buttons;
  }

  QDialog m_dialog;
  QProgressBar* m_bar;
  QLabel* m_name;
  QDialogButtonBox* m_buttons;
  QTimer m_appear;
  QEventLoop m_loop;
  bool m_stopped = false;
  bool m_ended = false;
};

CWindowQuestions::CWindowQuestions(QWidget* window) : m_window(window) {}

CWindowQuestions::~CWindowQuestions() = default;

bool CWindowQuestions::Confirm(const std::string& title, const std::string& text,
                               const std::string& warning) {
  QMessageBox box(QMessageBox::Question, QString::fromStdString(title),
                  QString::fromStdString(text), QMessageBox::Yes | QMessageBox::No, m_window);
  box.setTextFormat(Qt::PlainText);
  box.setInformativeText(QString::fromStdString(warning));
  if (!warning.empty()) box.setIcon(QMessageBox::Warning);
  box.setDefaultButton(QMessageBox::Yes);
  box.setEscapeButton(QMessageBox::No);
  // The words of the buttons are settled; what "Yes" will do is said to who points at it or hears
  // it.
  box.button(QMessageBox::Yes)->setText(QObject::tr("&Yes"));
  box.button(QMessageBox::No)->setText(QObject::tr("&No"));
  box.button(QMessageBox::Yes)->setToolTip(QString::fromStdString(title));
  box.button(QMessageBox::Yes)->setAccessibleDescription(QString::fromStdString(title));
  return box.exec() == QMessageBox::Yes;
}

std::string CWindowQuestions::ChooseMoveFolder() {
  QFileDialog dialog(m_window, QObject::tr("Move folder"));
  dialog.setFileMode(QFileDialog::Directory);
  dialog.setOption(QFileDialog::ShowDirsOnly);
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setLabelText(QFileDialog::Accept, QObject::tr("Move"));
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
  return PathBytes(dialog.selectedFiles().first());
}

bool CWindowQuestions::Perform(const std::string& path, size_t index, size_t count,
                               const std::function<void()>& work) {
  if (!m_progress) m_progress = std::make_unique<Progress>(m_window);
  return m_progress->Perform(ShownPath(path), index, count, work);
}

void CWindowQuestions::StopAndClose() {
  m_closes = true;
  if (m_progress) m_progress->Stop();
}

void CWindowQuestions::Finished(const std::vector<std::string>& failures) {
  m_progress.reset();
  if (m_closes) {
    // From the event loop, so that the tables have followed by then.
    QMetaObject::invokeMethod(m_window, &QWidget::close, Qt::QueuedConnection);
    return;
  }
  if (failures.empty()) return;
  QDialog dialog(m_window);
  dialog.setWindowTitle(QObject::tr("Not everything could be done"));
  auto* layout = new QVBoxLayout(&dialog);
  auto* text = new QLabel(
      QObject::tr("Nothing was lost. A file that stayed where it was may have left the results; a "
                  "new scan finds it again."));
  text->setWordWrap(true);
  layout->addWidget(text);
  auto* list = new QPlainTextEdit;
  list->setReadOnly(true);
  for (const std::string& failure : failures) list->appendPlainText(ShownPath(failure));
  list->moveCursor(QTextCursor::Start);
  layout->addWidget(list);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  layout->addWidget(buttons);
  dialog.resize(640, 280);
  dialog.exec();
}

}  // namespace quill
