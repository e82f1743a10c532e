#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QMessageBox>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "platform/data_session.h"
#include "platform/instance_link.h"
#include "platform/qt_main_queue.h"
#include "platform/signal_watch.h"
#include "ui/icons.h"
#include "ui/main_window.h"
#include "ui/path_text.h"

namespace {

constexpr const char* kDesktopFile = "org.quillmarsh.Quillmarsh";

int Fail(const QString& text) {
  QMessageBox box(QMessageBox::Critical, "Quillmarsh", text, QMessageBox::Close);
  box.setTextFormat(Qt::PlainText);
  box.exec();
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  // A decoder that dies must not end the program through a write to its pipe.
  std::signal(SIGPIPE, SIG_IGN);
  QApplication application(argc, argv);
  QApplication::setApplicationName("Quillmarsh");
  QApplication::setApplicationVersion(QUILLMARSH_VERSION);
  QApplication::setDesktopFileName(kDesktopFile);
  QApplication::setWindowIcon(QIcon::fromTheme(kDesktopFile, QIcon(":/icons/quillmarsh.svg")));

  QCommandLineParser parser;
  parser.setApplicationDescription(
      QObject::tr("Finds duplicate audio and image files and rates the quality of audio files."));
  parser.addHelpOption();
  parser.addVersionOption();
  const QCommandLineOption dataDir("data-dir",
                                   QObject::tr("Keep settings, cache, results and logs in DIR."),
                                   QObject::tr("DIR"));
  parser.addOption(dataDir);
  parser.addPositionalArgument("file", QObject::tr("Results file to open."), "[file]");
  parser.process(application);
  std::string file;
  if (!parser.positionalArguments().isEmpty())
    file = quill::PathBytes(QFileInfo(parser.positionalArguments().first()).absoluteFilePath());

  using quill::CUserFolders;
  const CUserFolders folders = parser.isSet(dataDir)
                                   ? CUserFolders::Under(quill::PathBytes(
                                         QFileInfo(parser.value(dataDir)).absoluteFilePath()))
                                   : CUserFolders::ByEnvironment();
  quill::CDataSession session;
  quill::CInstanceLink link(folders.support);
  switch (session.Open(folders)) {
    case quill::CDataLock::Result::kTaken:
      if (link.Call(file)) return 0;
      return Fail(QObject::tr("A scan of the command line is using\n%1\nWait for it to end, then "
                              "start again.")
                      .arg(quill::ShownPath(folders.support)));
    case quill::CDataLock::Result::kFailed:
      return Fail(QObject::tr("Cannot write in the data folder\n%1\n%2")
                      .arg(quill::ShownPath(folders.support), std::strerror(errno)));
    case quill::CDataLock::Result::kLocked:
      break;
  }

  quill::CQtMainQueue queue;
  quill::TDXMainWindow window(queue);
  link.m_called = [&](const std::string& path) { window.BringForward(path); };
  link.Listen();
  const quill::CSignalWatch signalWatch([&] { window.close(); });
  QObject::connect(&application, &QGuiApplication::commitDataRequest, &window,
                   [&] { window.close(); });
  window.Start(file);
  return QApplication::exec();
}
