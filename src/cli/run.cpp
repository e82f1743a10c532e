// SPDX-License-Identifier: GPL-3.0-or-later
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/commands.h"
#include "cli/session.h"

namespace quill::cli {

bool Print(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
    return true;
  // A reader that has seen enough, as `head` has, is no fault to speak of.
  if (errno != EPIPE) Complain(std::string("cannot write the output: ") + std::strerror(errno));
  return false;
}

std::string Count(size_t number, const char* one, const char* many) {
  return std::to_string(number) + " " + (number == 1 ? one : many);
}

int Run(const std::vector<std::string>& words) {
  Arguments arguments;
  std::string error;
  if (!ParseArguments(words, &arguments, &error)) {
    Complain(error + "; see quillmarsh-cli --help");
    return kExitUsage;
  }
  switch (arguments.command) {
    case Command::kScan:
    case Command::kResume:
      return RunScan(arguments);
    case Command::kShow:
      return RunShow(arguments);
    case Command::kMark:
      return RunMark(arguments);
    case Command::kProbe:
      return RunProbe(arguments);
    case Command::kCache:
      return RunCache(arguments);
    case Command::kIgnore:
      return RunIgnore(arguments);
    case Command::kBenchmark:
      return RunBenchmark(arguments);
    case Command::kVersion:
      return Print("quillmarsh-cli " QUILLMARSH_VERSION "\n") ? kExitDone : kExitFailed;
    case Command::kHelp:
      break;
  }
  if (words.empty()) {
    std::fputs(UsageText(), stderr);
    return kExitUsage;
  }
  return Print(UsageText()) ? kExitDone : kExitFailed;
}

}  // namespace quill::cli
