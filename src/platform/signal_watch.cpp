// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/signal_watch.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

namespace quill {

namespace {

// Written before the handler is in place and read by it: a lock-free atomic is async-signal-safe.
std::atomic<int> g_signalPipe{-1};

void OnSignal(int) {
  const int reason = errno;
  const char byte = 0;
  // A full pipe already wakes the loop.
  [[maybe_unused]] const ssize_t written = write(g_signalPipe.load(), &byte, 1);
  errno = reason;
}

void SetHandlers(void (*handler)(int)) {
  struct sigaction action{};
  action.sa_handler = handler;
  action.sa_flags = static_cast<int>(SA_RESTART | (handler == OnSignal ? SA_RESETHAND : 0));
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

CSignalWatch::CSignalWatch(std::function<void()> arrived) : m_arrived(std::move(arrived)) {
  if (pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
  m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
  QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
    m_notifier->setEnabled(false);
    m_arrived();
  });
  g_signalPipe = m_pipe[1];
  SetHandlers(OnSignal);
}

CSignalWatch::~CSignalWatch() {
  if (!m_notifier) return;
  SetHandlers(SIG_DFL);
  g_signalPipe = -1;
  m_notifier.reset();
  close(m_pipe[0]);
  close(m_pipe[1]);
}

}  // namespace quill
