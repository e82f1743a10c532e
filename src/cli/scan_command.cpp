// SPDX-License-Identifier: GPL-3.0-or-later
#include <QCoreApplication>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "app/app_delegate.h"
#include "app/data_files.h"
#include "cli/analysis_report.h"
#include "cli/commands.h"
#include "cli/export_files.h"
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
  if (CResultsJournal::MayReplace(path)) return true;
  Complain(TerminalText(path) + " exists and is no results file; nothing was written");
  return false;
}

// As in the window, a scan clears the tables of its own kind and keeps those of the other, so that
// pairs and ratings of the same folders come together in one results file.
void KeepOtherResults(TDXAppDelegate& delegate) {
  const std::string path = CSession::DataFile(kAutosaveFile);
  std::error_code fault;
  if (std::filesystem::exists(path, fault) && CResultsJournal::IsResultsFile(path))
    (void)delegate.LoadData(path);
}

struct Outcome {
  std::string text;      // for standard output
  std::string sentence;  // for people, behind it
};

// What the scan was for, or all that there is when it went on with an earlier one.
Outcome Report(const Arguments& arguments, TDXAppDelegate& delegate) {
  const bool resumed = arguments.command == Command::kResume;
  const bool pairsWanted = resumed || !arguments.analyse;
  const bool ratingsWanted = resumed || arguments.analyse;
  const int32_t scheduled = delegate.Counters().scheduled;
  const int32_t processed = delegate.Counters().processed;
  const PairLists pairs =
      pairsWanted ? ListPairs(delegate.AudioDups(), delegate.ImageDups()) : PairLists{};
  Outcome outcome;
  if (arguments.json) {
    outcome.text =
        ResultsJson(pairs, ratingsWanted ? AnalysisJson(delegate.AudioAnalysis()) : kNoAnalysisJson,
                    scheduled, processed);
    return outcome;
  }
  const size_t rated = delegate.AudioAnalysis().RowCount();
  outcome.text = PairTable(pairs);
  if (ratingsWanted && rated != 0) {
    if (!outcome.text.empty()) outcome.text += '\n';
    outcome.text += AnalysisTable(delegate.AudioAnalysis());
  }
  if (pairsWanted) outcome.sentence = Count(pairs.Count(), "pair", "pairs");
  if (ratingsWanted && (!resumed || rated != 0)) {
    if (!outcome.sentence.empty()) outcome.sentence += " and ";
    outcome.sentence += Count(rated, "rated file", "rated files");
  }
  outcome.sentence += " among " + Count(static_cast<size_t>(processed), "file", "files") + ".";
  return outcome;
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
  frontEnd.m_found = [&]() -> std::string {
    if (arguments.analyse) return {};
    const size_t pairs = delegate.AudioDups().PairCount() + delegate.ImageDups().PairCount();
    return Count(pairs, "pair", "pairs");
  };
  delegate.AwakeFromNib();

  bool interrupted = false;
  CSignalWatch signalWatch([&] {
    interrupted = true;
    QCoreApplication::exit(0);
  });
  if (arguments.command == Command::kScan) {
    KeepOtherResults(delegate);
    delegate.StartScan();
  }
  delegate.RestoreAutosave();
  if (!delegate.IsIdle()) QCoreApplication::exec();
  frontEnd.ClearProgressLine();
  const bool saved = interrupted || arguments.saveFile.empty() ||
                     (MayWriteResults(arguments.saveFile) && delegate.SaveData(arguments.saveFile));
  delegate.ApplicationWillTerminate();

  if (interrupted) {
    Complain("interrupted after " + delegate.HowFar() +
             "; \"quillmarsh-cli resume\" goes on from there");
    return kExitInterrupted;
  }
  const Outcome outcome = Report(arguments, delegate);
  const bool printed = Print(outcome.text);
  const auto goOn = [&](size_t done, size_t count) {
    QCoreApplication::processEvents();
    ProgressDisplay progress;
    progress.processed = static_cast<int32_t>(done);
    progress.scheduled = static_cast<int32_t>(count);
    frontEnd.ShowProgress(progress);
    return !interrupted;
  };
  const bool exported = arguments.exportFile.empty() || ExportResults(arguments, delegate, goOn);
  frontEnd.ClearProgressLine();
  if (interrupted) {
    Complain("interrupted during the export; the scan itself is complete");
    return kExitInterrupted;
  }
  if (!printed) return kExitFailed;
  if (!arguments.json)
    std::fprintf(stderr, "%s%s\n", outcome.text.empty() ? "" : "\n", outcome.sentence.c_str());
  return saved && exported ? kExitDone : kExitFailed;
}

}  // namespace quill::cli
