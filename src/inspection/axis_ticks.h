// SPDX-License-Identifier: GPL-3.0-or-later
// Where the labels of an axis stand: as many round values as fit, found by halving, so that the
// roundest value lands nearest the middle of each free stretch. Pure; positions in pixels along the
// axis, growing to the right or downward.
#pragma once

#include <functional>
#include <vector>

namespace quill {

struct AxisTick {
  int value = 0;
  double position = 0;
};

struct AxisScale {
  std::function<double(double position)> valueAt;
  std::function<double(int value)> positionOf;
  // What the label of a value takes on the side of the axis' start and on that of its end.
  std::function<double(int value)> before, after;
};

// The ticks of the stretch between the two positions, in no special order.
[[nodiscard]] std::vector<AxisTick> AxisTicks(const AxisScale& scale, double begin, double end);

}  // namespace quill
