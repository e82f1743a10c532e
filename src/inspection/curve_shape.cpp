// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/curve_shape.h"

#include <algorithm>

namespace quill {

namespace {

float Number(float level) {
  return level > 0 ? level : 0;
}

}  // namespace

std::vector<CurveBar> CurveBars(const float* levels, size_t count, int width) {
  std::vector<CurveBar> bars;
  if (count < 2 || width <= 0) return bars;
  if (HasBarPerBin(count, width)) {
    const double half = static_cast<double>(width) / (2.0 * static_cast<double>(count - 1));
    double left = 0;
    for (size_t i = 0; i < count; ++i) {
      const double right = left + (i == 0 || i + 1 == count ? half : 2 * half);
      bars.push_back({left, right, Number(levels[i])});
      left = right;
    }
    return bars;
  }
  const auto columns = static_cast<size_t>(width);
  for (size_t x = 0; x < columns; ++x) {
    const size_t begin = x * count / columns;
    const size_t end = std::max(begin + 1, (x + 1) * count / columns);
    float level = 0;
    for (size_t i = begin; i < end; ++i) level = std::max(level, Number(levels[i]));
    bars.push_back({static_cast<double>(x), static_cast<double>(x + 1), level});
  }
  return bars;
}

}  // namespace quill
