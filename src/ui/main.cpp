// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QCommandLineParser>
#include <QMessageBox>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/data_session.h"
#include "platform/instance_link.h"
#include "platform/qt_main_queue.h"
#include "platform/signal_watch.h"
#include "ui/widgets/path_text.h"
#include "ui/window/main_window.h"

namespace {

constexpr const char* kIdentifier = "org.quillmarsh.Quillmarsh";
constexpr const char* kUsage =
    "quillmarsh [--data-dir DIR] [FOLDER | FILE.quillmarsh]...\n"
    "  Opens the window, adds the folders to the list of folders to scan, and shows the results\n"
    "  file. A window that is open already over the same data folder comes forward and does so.\n"
    "  --data-dir DIR   keep settings, cache, results and logs in DIR\n"
    "  --version        print the version\n"
    "quillmarsh-cli is the same program for terminals and scripts.\n";

int Fail(const QString& text) {
  QMessageBox box(QMessageBox::Critical, "Quillmarsh", text, QMessageBox::Close);
  box.setTextFormat(Qt::PlainText);
  box.exec();
  return 1;
}

// What can be said without a display. -1 to go on.
int SayAndEnd(int argc, char** argv) {
  bool hasPlatform = std::getenv("QT_QPA_PLATFORM") != nullptr;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "--help" || word == "-h") return std::fputs(kUsage, stdout) < 0;
    if (word == "--version" || word == "-v")
      return std::fputs("quillmarsh " QUILLMARSH_VERSION "\n", stdout) < 0;
    hasPlatform = hasPlatform || word == "-platform" || word == "--platform";
  }
  if (hasPlatform || std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY")) return -1;
  std::fputs("quillmarsh: there is no display here; quillmarsh-cli works without one\n", stderr);
  return 1;
}

std::string AbsolutePath(const std::string& path) {
  std::error_code fault;
  const std::filesystem::path absolute = std::filesystem::absolute(path, fault);
  return fault ? path : absolute.native();
}

// The arguments that are no options, as bytes: a name that is no text does not survive the parser.
std::vector<std::string> WordsAsBytes(int argc, char** argv, const QStringList& words) {
  std::vector<std::string> given;
  for (int i = 1; i < argc; ++i) {
    if (*argv[i] != '\0' && words.contains(QString::fromLocal8Bit(argv[i])))
      given.push_back(AbsolutePath(argv[i]));
  }
  return given;
}

}  // namespace

int main(int argc, char** argv) {
  // A dead decoder process must not end this one through a write on its pipe.
  std::signal(SIGPIPE, SIG_IGN);
  if (const int said = SayAndEnd(argc, argv); said >= 0) return said;

  QApplication application(argc, argv);
  // Which takes the user's locale over: numbers in tables and files have a point all the same.
  std::setlocale(LC_NUMERIC, "C");
  QApplication::setApplicationName("Quillmarsh");
  QApplication::setApplicationVersion(QUILLMARSH_VERSION);
  QApplication::setDesktopFileName(kIdentifier);
  QApplication::setWindowIcon(QIcon(QString(":/%1.svg").arg(kIdentifier)));

  QCommandLineParser parser;
  const QCommandLineOption dataDir("data-dir", QString(), "DIR");
  parser.addOption(dataDir);
  const QStringList words =
      parser.parse(QApplication::arguments()) ? parser.positionalArguments() : QStringList();
  if (!parser.errorText().isEmpty()) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const std::vector<std::string> given = WordsAsBytes(argc, argv, words);
  const quill::CUserFolders folders =
      parser.isSet(dataDir)
          ? quill::CUserFolders::Under(AbsolutePath(quill::PathBytes(parser.value(dataDir))))
          : quill::CUserFolders::ByEnvironment();

  quill::CDataSession session;
  quill::CDataLock::Result locked = session.Open(folders);
  if (locked == quill::CDataLock::Result::kFailed) {
    return Fail(QObject::tr("Cannot write in the data folder\n%1\n%2")
                    .arg(quill::ShownPath(folders.support), std::strerror(errno)));
  }
  quill::CInstanceLink link(folders.support);
  if (locked == quill::CDataLock::Result::kTaken) {
    if (link.Call(given)) return 0;
    // A window that is just ending answers nobody, and is gone by now.
    locked = session.Open(folders);
  }
  if (locked != quill::CDataLock::Result::kLocked) {
    return Fail(
        QObject::tr("A scan on the command line, or another Quillmarsh without a window, is "
                    "using\n%1\nWait for it to end, then start again.")
            .arg(quill::ShownPath(folders.support)));
  }
  // Before the window, which takes its time over a big cache.
  link.Listen();

  quill::CQtMainQueue queue;
  quill::TDXMainWindow window(queue);
  link.m_called = [&](const std::vector<std::string>& paths) { window.BringForward(paths); };
  const quill::CSignalWatch signalWatch([&] { window.close(); });
  QObject::connect(&application, &QGuiApplication::commitDataRequest, &window,
                   [&] { window.close(); });
  window.Start(given);
  return QApplication::exec();
}
