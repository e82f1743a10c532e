// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/axis_ticks.h"

#include <algorithm>

namespace quill {

namespace {

constexpr double kLeastStretch = 10;
constexpr double kGap = 5;
constexpr int kSteps[] = {10000, 5000, 2000, 1000, 500, 200, 100, 50, 20, 10, 5, 2};

// The coarsest multiple near the middle of the values.
int RoundValue(int low, int high) {
  const int middle = (low + high) / 2;
  for (const int step : kSteps) {
    const int below = middle - middle % step;
    if (below >= low && below < high) return below;
    if (below + step >= low && below + step < high) return below + step;
  }
  return middle;
}

void Walk(const AxisScale& scale, double begin, double end, std::vector<AxisTick>* ticks) {
  if (end - begin < kLeastStretch) return;
  const auto first = static_cast<int>(scale.valueAt(begin));
  const auto last = static_cast<int>(scale.valueAt(end));
  const int value = RoundValue(std::min(first, last), std::max(first, last));
  const double position = scale.positionOf(value);
  const double labelBegin = position - scale.before(value);
  const double labelEnd = position + scale.after(value);
  if (labelBegin <= begin || labelEnd > end) return;
  ticks->push_back({value, position});
  Walk(scale, begin, labelBegin - kGap, ticks);
  Walk(scale, labelEnd, end, ticks);
}

}  // namespace

std::vector<AxisTick> AxisTicks(const AxisScale& scale, double begin, double end) {
  std::vector<AxisTick> ticks;
  Walk(scale, begin, end, &ticks);
  return ticks;
}

}  // namespace quill
