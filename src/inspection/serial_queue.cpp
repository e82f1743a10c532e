// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/serial_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

namespace quill {

CSerialQueue::CSerialQueue(std::function<void()> signalled)
    : m_signalled(std::move(signalled)),
      m_event(eventfd(0, EFD_CLOEXEC)),
      m_thread([this] { ThreadBody(); }) {}

CSerialQueue::~CSerialQueue() {
  {
    CSyncLock lock(m_sync);
    m_ending = true;
  }
  Wake();
  m_thread.join();
  close(m_event);
}

void CSerialQueue::Wake() {
  const uint64_t one = 1;
  // It would wait at a count near 2^64 only, which no run comes near.
  [[maybe_unused]] const ssize_t written = write(m_event, &one, sizeof one);
}

void CSerialQueue::Post(std::function<void()> block) {
  {
    CSyncLock lock(m_sync);
    m_blocks.push_back(std::move(block));
  }
  Wake();
}

void CSerialQueue::PostAndWait(const std::function<void()>& block) {
  CSync sync;
  CCondition changed;
  bool done = false;
  Post([&] {
    block();
    CSyncLock lock(sync);
    done = true;
    changed.Signal();
  });
  CSyncLock lock(sync);
  while (!done) changed.Wait(sync);
}

void CSerialQueue::Signal() {
  if (!m_signal.exchange(true)) Wake();
}

void CSerialQueue::ThreadBody() {
  while (true) {
    uint64_t count = 0;
    if (read(m_event, &count, sizeof count) < 0) continue;
    if (m_signal.exchange(false)) m_signalled();
    std::vector<std::function<void()>> blocks;
    bool ending = false;
    {
      CSyncLock lock(m_sync);
      blocks.swap(m_blocks);
      ending = m_ending;
    }
    for (const std::function<void()>& block : blocks) block();
    if (ending) return;
  }
}

}  // namespace quill
