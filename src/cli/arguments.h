// SPDX-License-Identifier: GPL-3.0-or-later
// The command line's words, parsed and checked before anything is opened or started.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "app/front_end.h"

namespace quill::cli {

enum class Command {
  kHelp,
  kVersion,
  kScan,
  kResume,
  kShow,
  kMark,
  kProbe,
  kCache,
  kIgnore,
  kBenchmark
};

struct Arguments {
  Command command = Command::kHelp;
  std::string dataDir;                                        // empty: the user's own folders
  std::vector<std::pair<std::string, std::string>> settings;  // for this run only
  uint32_t threads = 0;                                       // 0: as the settings say
  bool json = false;
  bool analyse = false;                    // scan: rate the files in place of comparing them
  std::string exportFile;                  // scan, resume: text file to write; empty for none
  std::string saveFile;                    // scan, resume: results file to write; empty for none
  std::vector<TDXSelectedFolder> folders;  // scan
  bool trash = false;                      // mark
  std::string moveFolder;                  // mark; empty for none
  bool yes = false;                        // mark: the question is answered
  std::string device;                      // benchmark; empty: as the settings say
  std::vector<std::string> words;          // the other commands' own words
};

// False with `error` filled in for a wrong use. Paths are made absolute.
[[nodiscard]] bool ParseArguments(const std::vector<std::string>& words, Arguments* arguments,
                                  std::string* error);

// The help text.
[[nodiscard]] const char* UsageText();

}  // namespace quill::cli
