// SPDX-License-Identifier: GPL-3.0-or-later
// The outline of a spectrum's curve in a graph of some width. Pure.
#pragma once

#include <cstddef>
#include <vector>

namespace quill {

struct CurveBar {
  double left = 0, right = 0;  // from the graph's left edge
  float level = 0;
};

// With room for more than two pixels a bin, a bar each, the first and the last half as wide as the
// others; else one point a pixel, with the largest level of the bins that fall into it, as a bar of
// width 1. Levels that are no numbers count as 0.
[[nodiscard]] std::vector<CurveBar> CurveBars(const float* levels, size_t count, int width);
// Whether CurveBars gives a bar a bin.
[[nodiscard]] inline bool HasBarPerBin(size_t count, int width) {
  return 2 * count < static_cast<size_t>(width);
}

}  // namespace quill
