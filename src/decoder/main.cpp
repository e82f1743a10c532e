// SPDX-License-Identifier: GPL-3.0-or-later
// The decoder program. Its argument vector has no program name: the two entries are the descriptors
// to read commands from and to write replies to.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "decoder/commands/command_loop.h"
#include "decoder/input/ffmpeg.h"
#include "decoder/link/crash_guard.h"
#include "decoder/link/own_memory.h"
#include "decoder/link/pipe.h"
#include "decoder/link/watcher.h"

namespace {

// A header of a few bytes can make a codec ask for any amount. This is enough for each format up to
// 100 million pixels and more.
constexpr uint64_t kMaxCodecMemory = uint64_t{2} << 30;

// Codecs print what they think of damaged files, but the terminal is the application's. What a
// sanitizer has to say stays visible.
void SilenceCodecs() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0) return;
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  close(nowhere);
#endif
}

}  // namespace

int main(int count, char** arguments) {
  using namespace quill::decoder;
  if (count != 2) return EXIT_FAILURE;
  const int readDescriptor = std::atoi(arguments[0]);
  const int writeDescriptor = std::atoi(arguments[1]);
  SilenceCodecs();
  InstallCrashGuard();
  LimitOwnMemory(kMaxCodecMemory);
  std::signal(SIGPIPE, SIG_IGN);
  // An interrupt at the terminal reaches the whole group; the application decides what it means.
  std::signal(SIGINT, SIG_IGN);
  av_log_set_level(AV_LOG_QUIET);
  StartWatcher(readDescriptor, writeDescriptor);
  CPipe pipe(readDescriptor, writeDescriptor);
  CCommandLoop(pipe).Run();
}
