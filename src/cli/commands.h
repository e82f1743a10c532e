// SPDX-License-Identifier: GPL-3.0-or-later
// The commands, one function each. Arguments are checked; each gives the program's exit status and
// has told the user about a failure.
#pragma once

#include "cli/arguments.h"

namespace quill::cli {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitInterrupted = 130;

// Both scan and resume.
[[nodiscard]] int RunScan(const Arguments& arguments);
[[nodiscard]] int RunShow(const Arguments& arguments);
[[nodiscard]] int RunMark(const Arguments& arguments);
[[nodiscard]] int RunProbe(const Arguments& arguments);
[[nodiscard]] int RunCache(const Arguments& arguments);
[[nodiscard]] int RunIgnore(const Arguments& arguments);
[[nodiscard]] int RunBenchmark(const Arguments& arguments);

// The whole program over its words, the program's name not among them.
[[nodiscard]] int Run(const std::vector<std::string>& words);

// False after a message when the decoder program is not where it belongs.
[[nodiscard]] bool CheckDecoder();

// "1 file", "2 files".
[[nodiscard]] std::string Count(size_t number, const char* one, const char* many);

// Writes to standard output; false after a message when it cannot be written.
[[nodiscard]] bool Print(const std::string& text);

}  // namespace quill::cli
