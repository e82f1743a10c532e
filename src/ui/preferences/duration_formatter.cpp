// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/duration_formatter.h"

#include <cstdio>

namespace quill {

std::string TDXDurationFormatter::Text(float ratio) {
  constexpr float kExampleSeconds = 180;
  if (ratio <= 0) return "Example, song duration 3:00 compared with all songs";
  if (ratio < 0.1F) return "Example, song duration 3:00 compared with almost all songs";
  // In single precision, like the setting: 180 times 0.7 is 126 there, and less than that in
  // double.
  const int shortest = static_cast<int>(kExampleSeconds * ratio);
  const int longest = static_cast<int>(kExampleSeconds / ratio);
  char text[120];
  std::snprintf(text, sizeof text,
                "Example, song duration 3:00 compared only with songs in range: %d:%02d - %d:%02d",
                shortest / 60, shortest % 60, longest / 60, longest % 60);
  return text;
}

}  // namespace quill
