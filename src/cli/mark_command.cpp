// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cli/commands.h"
#include "cli/loaded_results.h"
#include "cli/safe_text.h"
#include "cli/session.h"
#include "cli/terminal_questions.h"
#include "platform/disk_file_service.h"
#include "results/automark.h"
#include "results/components.h"
#include "results/file_operations.h"

namespace quill::cli {

namespace {

// Whether the file on disk is still the one that was compared, as far as its size tells.
bool IsUnchanged(const std::string& path, uint64_t size) {
  struct stat status{};
  return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         static_cast<uint64_t>(status.st_size) == size;
}

template <class Controller>
std::vector<std::string> MarkedPaths(const Controller& table) {
  std::vector<std::string> paths;
  table.ForEachItem([&](const typename Controller::ItemData& item) {
    if (item.marked) paths.push_back(item.base->path);
  });
  return paths;
}

// A results file may be old. Takes the mark off each file that is gone or has another size, and off
// all files of a group of which no unmarked file is left as it was: an action would take the last
// one. Gives the number of marks that stay.
template <class Controller>
size_t KeepSafeMarks(Controller& table) {
  using Item = typename Controller::ItemData;
  std::unordered_map<const Item*, uint32_t> numbers;
  std::vector<const Item*> items;
  table.ForEachItem([&](const Item& item) {
    numbers.emplace(&item, static_cast<uint32_t>(items.size()));
    items.push_back(&item);
  });
  CComponents groups(items.size());
  table.ForEachMatch([&](const typename Controller::PairData& pair) {
    groups.Join(numbers.at(pair.first), numbers.at(pair.second));
  });
  std::vector<bool> stays(items.size());  // by group: a file of it is kept
  for (uint32_t i = 0; i < items.size(); ++i) {
    const uint32_t group = groups.Find(i);
    if (!items[i]->marked && !stays[group])
      stays[group] = IsUnchanged(items[i]->base->path, items[i]->base->size);
  }
  std::unordered_set<const Item*> safe;
  for (uint32_t i = 0; i < items.size(); ++i) {
    if (!items[i]->marked) continue;
    const std::string& path = items[i]->base->path;
    if (!IsUnchanged(path, items[i]->base->size)) {
      Complain(TerminalText(path) + " is left alone: it is gone or has changed since the scan");
    } else if (!stays[groups.Find(i)]) {
      Complain(TerminalText(path) + " is left alone: no other file of its group would stay");
    } else {
      safe.insert(items[i]);
    }
  }
  table.MarkOnly(safe);
  return safe.size();
}

bool IsFolder(const std::string& path) {
  struct stat status{};
  if (stat(path.c_str(), &status) != 0) {
    Complain(TerminalText(path) + ": " + std::strerror(errno) + "; nothing was moved");
    return false;
  }
  if (!S_ISDIR(status.st_mode)) Complain(TerminalText(path) + " is not a folder");
  return S_ISDIR(status.st_mode);
}

int Act(const Arguments& arguments, CLoadedResults& results) {
  if (!arguments.trash && !IsFolder(arguments.moveFolder)) return kExitFailed;
  const size_t marked = KeepSafeMarks(results.audio) + KeepSafeMarks(results.images);
  if (marked == 0) {
    std::fputs("Nothing to do.\n", stderr);
    return kExitDone;
  }
  const std::string target = arguments.trash ? "the trash" : TerminalText(arguments.moveFolder);
  if (!arguments.yes &&
      !CTerminalQuestions::Ask("Move " + Count(marked, "file", "files") + " to " + target + "?")) {
    std::fputs("Nothing was moved.\n", stderr);
    return kExitFailed;
  }
  CTerminalQuestions questions;
  CDiskFileService files;
  CFileOperations operations(files, questions);
  const auto act = [&](std::vector<std::string>* paths) {
    return arguments.trash ? operations.Delete(paths)
                           : operations.MoveTo(arguments.moveFolder, paths);
  };
  (void)results.audio.ActOnMarked(act);
  if (!CTerminalQuestions::Interrupted()) (void)results.images.ActOnMarked(act);

  const size_t moved = questions.Handled() - questions.Failed();
  std::fprintf(stderr, "Moved %s to %s", Count(moved, "file", "files").c_str(), target.c_str());
  if (questions.Failed() != 0)
    std::fprintf(stderr, "; %s could not be moved and stayed where it was",
                 Count(questions.Failed(), "file", "files").c_str());
  std::fputs(".\n", stderr);
  if (CTerminalQuestions::Interrupted()) {
    Complain("interrupted; " + Count(marked - questions.Handled(), "file was", "files were") +
             " not touched");
    return kExitInterrupted;
  }
  return questions.Failed() == 0 ? kExitDone : kExitFailed;
}

}  // namespace

int RunMark(const Arguments& arguments) {
  CSession session;
  if (!session.Open(arguments)) return kExitFailed;
  const bool acts = arguments.trash || !arguments.moveFolder.empty();
  CLoadedResults results;
  if (!results.Load(arguments.words[0], acts)) return kExitFailed;

  CAudioAutomark audio(results.audio, &results.analysis);
  audio.Mark(audio.Allowed());
  CImageAutomark images(results.images);
  images.Mark(images.Allowed());

  std::vector<std::string> paths = MarkedPaths(results.audio);
  const std::vector<std::string> pictures = MarkedPaths(results.images);
  paths.insert(paths.end(), pictures.begin(), pictures.end());
  // Scripts get the names as they are; a terminal is not to be steered by them.
  const bool terminal = isatty(STDOUT_FILENO) == 1;
  std::string list;
  for (const std::string& path : paths) list += (terminal ? TerminalText(path) : path) + "\n";
  if (!Print(list)) return kExitFailed;
  return acts ? Act(arguments, results) : kExitDone;
}

}  // namespace quill::cli
