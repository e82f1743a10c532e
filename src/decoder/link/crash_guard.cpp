// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/link/crash_guard.h"

#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "decoding/wire.h"

namespace quill::decoder {

namespace {

// A fault may be an overflow of the main stack, so the handler has a stack of its own.
std::array<char, 65536> handlerStack;

void LeaveCrashed(int) {
  _exit(wire::kExitCrashed);
}

}  // namespace

void InstallCrashGuard() {
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);

  stack_t stack{};
  stack.ss_sp = handlerStack.data();
  stack.ss_size = handlerStack.size();
  sigaltstack(&stack, nullptr);

  struct sigaction action{};
  action.sa_handler = LeaveCrashed;
  action.sa_flags = SA_ONSTACK;
  sigset_t faults;
  sigemptyset(&faults);
  for (int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
    sigaction(number, &action, nullptr);
    sigaddset(&faults, number);
  }
  // The mask is inherited from whichever thread of the application started this process.
  sigprocmask(SIG_UNBLOCK, &faults, nullptr);
}

}  // namespace quill::decoder
