// SPDX-License-Identifier: GPL-3.0-or-later
// From linear levels to fractions of a full scale of 150 decibels. Pure.
#pragma once

#include <cmath>

namespace quill {

inline constexpr float kLeastLevel = 3.1622776e-08F;  // -150 dB
inline constexpr double kScaleDecibels = 150;

// 1 for 0 dB, 0 for -150 dB, for all that is below, and for what is no number. May pass 1.
[[nodiscard]] inline double DecibelFraction(float level) {
  if (!(level > kLeastLevel)) return 0;
  return 20 * std::log10(static_cast<double>(level)) / kScaleDecibels + 1;
}

}  // namespace quill
