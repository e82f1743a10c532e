// SPDX-License-Identifier: GPL-3.0-or-later
// The main dispatch queue: the one way from a worker thread to the main thread. The platform
// implements it over its event loop; tests drain one by hand.
#pragma once

#include <functional>

namespace quill {

class CMainQueue {
 public:
  virtual ~CMainQueue() = default;
  // Runs `block` on the main thread later, in the order of posting. Any thread; never runs it
  // inside the call.
  virtual void Post(std::function<void()> block) = 0;
};

}  // namespace quill
