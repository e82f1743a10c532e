// SPDX-License-Identifier: GPL-3.0-or-later
// Variances and covariance of two runs of numbers by their definition, in doubles: what the fast
// correlations are held against.
#pragma once

#include <cmath>
#include <cstddef>

namespace quill::test {

struct PlainMoments {
  template <class X, class Y>
  PlainMoments(const X& x, const Y& y, size_t n) {
    double meanX = 0, meanY = 0;
    for (size_t i = 0; i < n; ++i) meanX += x[i] / double(n), meanY += y[i] / double(n);
    for (size_t i = 0; i < n; ++i) {
      xx += (x[i] - meanX) * (x[i] - meanX) / double(n);
      yy += (y[i] - meanY) * (y[i] - meanY) / double(n);
      xy += (x[i] - meanX) * (y[i] - meanY) / double(n);
    }
  }
  [[nodiscard]] double Pearson() const { return xy / std::sqrt(xx * yy); }

  double xx = 0, yy = 0, xy = 0;
};

}  // namespace quill::test
