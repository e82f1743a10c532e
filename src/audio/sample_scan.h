// SPDX-License-Identifier: GPL-3.0-or-later
// What the meters of a channel need of every sample, in vector code. Any thread; only the arguments
// are touched. Sums run in double precision.
#pragma once

#include <cstddef>

namespace quill {

inline constexpr size_t kPeakBlock = 64;  // samples that share a peak

struct SampleScan {
  double sum = 0;
  float leastStep = 0;  // infinite when no two neighbours differ
};

// Of `count` samples, at least 1: their sum, the least difference of neighbours that differ
// (`previous` is the first one's neighbour), and into `peaks` the greatest absolute value of each
// kPeakBlock of them; the last block may be shorter.
[[nodiscard]] SampleScan ScanSamples(const float* samples, size_t count, float previous,
                                     float* peaks);

struct LevelSums {
  double entering = 0;  // of |samples[i]|
  double crossing = 0;  // of crossing[i]
  double leaving = 0;   // of leaving[i]
};

[[nodiscard]] LevelSums SumLevels(const float* samples, const float* crossing, const float* leaving,
                                  size_t count);

}  // namespace quill
