// SPDX-License-Identifier: GPL-3.0-or-later
// A main queue that a test drains by hand, on the thread that plays the main thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

#include "core/main_queue.h"

namespace quill::test {

class CManualQueue : public CMainQueue {
 public:
  void Post(std::function<void()> block) override {
    std::lock_guard lock(m_mutex);
    m_blocks.push_back(std::move(block));
    m_condition.notify_one();
  }

  // Runs what is posted, and what that posts, until `done` gives true. False after `limit`.
  template <class Done>
  [[nodiscard]] bool RunUntil(Done done, std::chrono::seconds limit = std::chrono::seconds(60)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
      std::unique_lock lock(m_mutex);
      if (!m_condition.wait_until(lock, end, [this] { return !m_blocks.empty(); })) return false;
      const std::function<void()> block = std::move(m_blocks.front());
      m_blocks.pop_front();
      lock.unlock();
      block();
    }
    return true;
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_condition;
  std::deque<std::function<void()>> m_blocks;
};

}  // namespace quill::test
