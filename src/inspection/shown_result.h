// SPDX-License-Identifier: GPL-3.0-or-later
// What a builder has made, as the window draws it: the builder's thread puts a finished result
// there, the window looks at it.
#pragma once

#include <utility>

#include "core/sync.h"

namespace quill {

template <class Result>
class CShownResult {
 public:
  // Calls look(const Result&) under the lock that an exchange takes: for a drawing, not for longer.
  template <class Look>
  void Visit(Look look) const EXCLUDES(m_sync) {
    CSyncLock lock(m_sync);
    look(m_result);
  }
  // What was on show before may be large: it is freed with no lock held.
  void Show(Result fresh) EXCLUDES(m_sync) {
    CSyncLock lock(m_sync);
    std::swap(m_result, fresh);
  }

 private:
  mutable CSync m_sync;
  Result m_result GUARDED_BY(m_sync);
};

}  // namespace quill
