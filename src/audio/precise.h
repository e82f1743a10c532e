// SPDX-License-Identifier: GPL-3.0-or-later
// The precise score: does a piece of one file's time structure occur, at any offset, in the other?
// A pattern of one print slides along the other, band by band, and a pair whose bands all peak at
// the same offset scores high. Two forms: two long files by their BarkPrints, two short ones by
// their correlograms. Pure functions of their arguments; one thread an object.
//
// The byte series are correlated as integers: products of bytes summed in 32 bits are exact, and so
// are covariance and variance of 300 values, times 300 squared. A flat stretch has a covariance of
// exactly 0 with anything.
#pragma once

#include <array>
#include <cstdint>

#include "audio/prints.h"
#include "signal/aligned_allocator.h"

namespace quill {

// Statistics are kept for this many offsets a band: whole vectors, whatever their width.
inline constexpr int32_t kBarkStatistics = (kBarkOffsets + 15) / 16 * 16;

// A BarkPrint made ready for sliding: its series, and per band the sums and inverse deviations of
// each stretch of 300 values. 33 KiB of statistics, so made anew per pair and never stored.
struct BarkData {
  int32_t length = 0;
  const uint8_t* rows = nullptr;  // bands kBarkStride bytes apart; borrowed, must stay alive
  alignas(64) int32_t sums[kBarkBands][kBarkStatistics];
  // 1 / sqrt(variance), the variance at least 1e-6; 0 behind the last stretch, where a product with
  // it then counts for nothing.
  alignas(64) float invdev[kBarkBands][kBarkStatistics];
};

// (M, S) of one sweep: the mean of the 12 bands' own peaks, and the peak of the band-averaged
// curve.
struct SweepResult {
  float peakMean = 0;
  float curvePeak = 0;
};

// Fills `data` from a print of at least 300 values a band. False after a report.
[[nodiscard]] bool Precalculate(const BarkPrint& print, BarkData* data);
// The same from 12 rows of 640 bytes as a device takes them.
[[nodiscard]] bool CheckPrecalculate(const uint8_t* rows, int32_t length, BarkData* data);
// Searches the middle of `pattern` in `series`.
[[nodiscard]] bool SweepBarks(const BarkData& series, const BarkData& pattern, SweepResult* result);
// The precise score of two long files; not limited to 0 to 1. Symmetric.
[[nodiscard]] float ScoreBarks(const BarkData& target, const BarkData& candidate);

// The Pearson coefficient of `pattern` (m values) with each stretch of `series` (n values), n - m +
// 1 values in -1 to 1. A constant pattern matches constant stretches with 1.
[[nodiscard]] bool CorrelatePearson(const uint8_t* series, int32_t n, const uint8_t* pattern,
                                    int32_t m, CFloatVector* out);
[[nodiscard]] bool SweepCorrelogram(const CorrelogramPrint& longer, const CorrelogramPrint& shorter,
                                    SweepResult* result);
// The precise score of two short files; not limited to 0 to 1. One-sided: the whole of the shorter
// print is the pattern, and the target counts as the longer one when both are equal.
[[nodiscard]] float ScoreCorrelogram(const CorrelogramPrint& target,
                                     const CorrelogramPrint& candidate);

}  // namespace quill
