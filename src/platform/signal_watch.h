// SPDX-License-Identifier: GPL-3.0-or-later
// SIGINT and SIGTERM as an event of the main thread's loop. The handler only writes a byte to a
// pipe. After the first signal the system's own handling is back, so that a second one ends a
// program that does not come to its end.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace quill {

class CSignalWatch {
 public:
  // `arrived` runs on the main thread, once. One watch a process.
  explicit CSignalWatch(std::function<void()> arrived);
  ~CSignalWatch();
  CSignalWatch(const CSignalWatch&) = delete;
  CSignalWatch& operator=(const CSignalWatch&) = delete;

 private:
  std::function<void()> m_arrived;
  int m_pipe[2] = {-1, -1};
  std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace quill
