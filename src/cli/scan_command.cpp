#include <QCoreApplication>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "app/app_delegate.h"
#include "app/data_files.h"
#include "cli/commands.h"
#include "cli/pair_report.h"
#include "cli/safe_text.h"
#include "cli/session.h"
#include "cli/terminal_front_end.h"
#include "core/configuration.h"
#include "decoding/process_link.h"
#include "platform/qt_main_queue.h"
#include "platform/signal_watch.h"
#include "storage/results_journal.h"

namespace quill::cli {

namespace {

// Everything that would make a scan end with nothing found for a reason that the user can mend.
bool CheckInput(const Arguments& arguments) {
  for (const TDXSelectedFolder& folder : arguments.folders) {
    std::error_code fault;
    const auto status = std::filesystem::status(folder.path, fault);
    if (!std::filesystem::exists(status)) {
      Complain(TerminalText(folder.path) + ": " + (fault ? fault.message() : "no such folder"));
      return false;
    }
    if (!std::filesystem::is_directory(status)) {
      Complain(TerminalText(folder.path) + " is not a folder; name the folder that it lies in");
      return false;
    }
    std::filesystem::directory_iterator list(folder.path, fault);
    if (fault) {
      Complain(TerminalText(folder.path) + " cannot be read: " + fault.message());
      return false;
    }
  }
  return CheckDecoder();
}

// A file that is none of ours would be emptied by the save.
bool MayWriteResults(const std::string& path) {
  std::error_code fault;
  if (!std::filesystem::exists(path, fault)) return true;
  CResultsJournal journal(nullptr, nullptr, nullptr);
  if (journal.OpenForReading(path) && journal.Load()) return true;
  Complain(TerminalText(path) + " exists and is no results file; nothing was written");
  return false;
}

std::string Count(size_t number, const char* one, const char* many) {
  return std::to_string(number) + " " + (number == 1 ? one : many);
}

}  // namespace

bool CheckDecoder() {
  const std::string program = CProcessLink::OwnDecoder();
  std::error_code fault;
  if (std::filesystem::is_regular_file(program, fault)) return true;
  Complain("the program that reads media files is missing: " + TerminalText(program) +
           "; build or install Quillmarsh again");
  return false;
}

int RunScan(const Arguments& arguments) {
  if (!CheckInput(arguments)) return kExitFailed;
  CSession session;
  if (!session.Open(arguments)) return kExitFailed;

  CQtMainQueue queue;
  CTerminalFrontEnd frontEnd(arguments.folders);
  TDXAppDelegate delegate(queue, frontEnd);
  if (!delegate.CacheLoaded()) {
    Complain("cannot use " + TerminalText(CSession::DataFile(kCacheFile)) +
             "; this scan goes on, but nothing is kept for the next one");
  }
  frontEnd.m_tick = [&] { delegate.TimerUpdate(); };
  frontEnd.m_pairCount = [&] {
    return delegate.AudioDups().PairCount() + delegate.ImageDups().PairCount();
  };
  delegate.AwakeFromNib();

  bool interrupted = false;
  CSignalWatch signalWatch([&] {
    interrupted = true;
    QCoreApplication::exit(0);
  });
  if (arguments.command == Command::kScan) delegate.StartScan();
  delegate.RestoreAutosave();
  if (!delegate.IsIdle()) QCoreApplication::exec();
  frontEnd.ClearProgressLine();
  const bool saved = interrupted || arguments.saveFile.empty() ||
                     (MayWriteResults(arguments.saveFile) && delegate.SaveData(arguments.saveFile));
  delegate.ApplicationWillTerminate();

  const int32_t scheduled = delegate.Counters().scheduled;
  const int32_t processed = delegate.Counters().processed;
  if (interrupted) {
    Complain("interrupted after " + Count(static_cast<size_t>(processed), "file", "files") +
             "; \"quillmarsh-cli resume\" goes on from there");
    return kExitInterrupted;
  }
  const PairLists pairs = ListPairs(delegate.AudioDups(), delegate.ImageDups());
  if (!Print(arguments.json ? PairJson(pairs, scheduled, processed) : PairTable(pairs)))
    return kExitFailed;
  if (!arguments.json) {
    std::fprintf(stderr, "%s%s among %s.\n", pairs.Count() == 0 ? "" : "\n",
                 Count(pairs.Count(), "pair", "pairs").c_str(),
                 Count(static_cast<size_t>(processed), "file", "files").c_str());
  }
  return saved ? kExitDone : kExitFailed;
}

}  // namespace quill::cli
