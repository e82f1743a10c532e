// SPDX-License-Identifier: GPL-3.0-or-later
// The one lock under which all plans of FFTW are made: its planner is not re-entrant, while the
// execution of a plan is. Plans are estimated: measured ones run a tenth faster, but making one of
// length 4096 takes 200 ms.
#pragma once

#include <mutex>

namespace quill {

inline std::mutex& FftPlannerMutex() {
  static std::mutex mutex;
  return mutex;
}

}  // namespace quill
