// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qt_main_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "core/system_error.h"

namespace quill {

CQtMainQueue::CQtMainQueue() : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (m_event == -1) {
    CSystemError::Bool("CQtMainQueue", 1, false);
    return;
  }
  m_notifier = std::make_unique<QSocketNotifier>(m_event, QSocketNotifier::Read);
  QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                   [this] { Drain(); });
}

CQtMainQueue::~CQtMainQueue() {
  m_notifier.reset();
  if (m_event != -1) close(m_event);
}

void CQtMainQueue::Post(std::function<void()> block) {
  CSyncLock lock(m_sync);
  m_blocks.push_back(std::move(block));
  if (m_blocks.size() > 1) return;
  const uint64_t one = 1;
  // Only a counter at its greatest value refuses, and that one wakes the loop already.
  [[maybe_unused]] const ssize_t written = write(m_event, &one, sizeof one);
}

void CQtMainQueue::Drain() {
  uint64_t count = 0;
  [[maybe_unused]] const ssize_t got = read(m_event, &count, sizeof count);
  std::vector<std::function<void()>> blocks;
  {
    CSyncLock lock(m_sync);
    blocks.swap(m_blocks);
  }
  for (const std::function<void()>& block : blocks) block();
}

}  // namespace quill
