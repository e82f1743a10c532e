// The main dispatch queue over Qt's event loop: a posted block is a queued call on the application
// object. Needs a QCoreApplication for as long as anybody posts.
#pragma once

#include "core/main_queue.h"

namespace quill {

class CQtMainQueue : public CMainQueue {
 public:
  void Post(std::function<void()> block) override;
};

}  // namespace quill
