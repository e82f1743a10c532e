// SPDX-License-Identifier: GPL-3.0-or-later
// Tells by an example which lengths of songs a ratio of durations lets through. Pure.
#pragma once

#include <string>

namespace quill {

// `ratio` is the least ratio of the shorter to the longer of two songs, 0 to 1.
struct TDXDurationFormatter {
  [[nodiscard]] static std::string Text(float ratio);
};

}  // namespace quill
