// SPDX-License-Identifier: GPL-3.0-or-later
// Counts the clicks of one channel: bursts of at most 20 samples that stand more than 30 times
// above the 1000 samples on each side, in the second difference of the samples. One thread.
//
// Positions are taken in spans. The values that lie in the surroundings of every position of a span
// give a least denominator, the values that lie in the middle of any give a greatest numerator: in
// nearly all spans of real sound this alone rules clicks out, at three maxima a span. Rounded
// division is monotonous, so that the short cut never differs from the plain search.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "signal/aligned_allocator.h"

namespace quill {

class CClickSearch {
 public:
  void Add(const float* samples, size_t count);
  [[nodiscard]] uint64_t Clicks() const { return m_clicks; }

 private:
  static constexpr size_t kSide = 1000;  // samples on each side
  static constexpr size_t kMiddle = 20;  // of a burst
  static constexpr size_t kWindow = 2 * kSide + kMiddle;
  static constexpr size_t kMostSpan = 500;  // positions that are ruled out together
  using Maxima = std::array<float, kMostSpan>;

  void Append(const float* samples, size_t count);
  // For the windows that begin at `values` and the span - 1 places behind it.
  [[nodiscard]] static bool MayHoldClick(const float* values, size_t span);
  // Looks at each of them; gives the places to go on by, counting one click at most.
  size_t Search(const float* values, size_t span);

  CFloatVector m_values;  // absolute second differences that a window may still need
  float m_last = 0;       // the last sample
  float m_beforeLast = 0;
  uint64_t m_clicks = 0;
};

}  // namespace quill
