// SPDX-License-Identifier: GPL-3.0-or-later
// The main dispatch queue over Qt's event loop: posted blocks wait in a list, and an event counter
// in the kernel wakes the loop once for all that has come together. Nothing of Qt is touched by the
// posting thread. Made and destroyed on the main thread, where a QCoreApplication must exist.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <vector>

#include "core/main_queue.h"
#include "core/sync.h"

namespace quill {

class CQtMainQueue : public CMainQueue {
 public:
  CQtMainQueue();
  ~CQtMainQueue() override;
  CQtMainQueue(const CQtMainQueue&) = delete;
  CQtMainQueue& operator=(const CQtMainQueue&) = delete;

  void Post(std::function<void()> block) override;

 private:
  void Drain();

  CSync m_sync;
  std::vector<std::function<void()>> m_blocks GUARDED_BY(m_sync);
  int m_event = -1;  // constant after construction
  std::unique_ptr<QSocketNotifier> m_notifier;
};

}  // namespace quill
