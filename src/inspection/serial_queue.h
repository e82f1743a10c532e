// SPDX-License-Identifier: GPL-3.0-or-later
// Runs blocks one after another on a thread of its own, in the order of posting. Besides, one fixed
// block, the signal's, can be asked for from a real-time thread: Signal neither locks nor
// allocates. Any thread, but PostAndWait from the queue's own.
#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "core/sync.h"

namespace quill {

class CSerialQueue {
 public:
  explicit CSerialQueue(std::function<void()> signalled);
  // Runs what has been posted, then ends the thread.
  ~CSerialQueue();
  CSerialQueue(const CSerialQueue&) = delete;
  CSerialQueue& operator=(const CSerialQueue&) = delete;

  void Post(std::function<void()> block) EXCLUDES(m_sync);
  // Comes back when the block, and all that was posted before it, has run.
  void PostAndWait(const std::function<void()>& block);
  // Has the signal's block run soon; several before it runs are one. It writes to an event counter
  // of the kernel, which neither waits nor allocates, and only when none is outstanding: that is
  // what makes it fit for a real-time thread.
  void Signal();

 private:
  void ThreadBody() EXCLUDES(m_sync);
  void Wake();

  const std::function<void()> m_signalled;
  int m_event = -1;  // constant after construction
  std::atomic<bool> m_signal{false};
  CSync m_sync;
  std::vector<std::function<void()>> m_blocks GUARDED_BY(m_sync);
  bool m_ending GUARDED_BY(m_sync) = false;
  std::thread m_thread;
};

}  // namespace quill
