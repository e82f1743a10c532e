// SPDX-License-Identifier: GPL-3.0-or-later
// Offset, smallest step, peak and clipped samples of one channel. One thread.
//
// A sample counts as clipped when it is at least the third in a row near the peak; a clearly new
// peak wipes the count, so that only runs at the final peak count. "Near" is five of the smallest
// steps that were seen before the block: the measure rests on where blocks begin, and a file's
// first blocks are short for that reason.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quill {

class CLevelMeter {
 public:
  static constexpr size_t kMostSamples = 2048;  // of one Add

  // A block of the file begins: fixes what is near the peak until the next one.
  void BeginBlock() { m_limit = m_minStep * 5.0f; }
  // Samples of the block, from 1 to kMostSamples.
  void Add(const float* samples, size_t count);

  // 0 for a channel of zeros only, which has no peak to be clipped at.
  [[nodiscard]] uint64_t Clipping() const { return m_peak > 0 ? m_clipped : 0; }
  // |sum / count|; 0 with no samples.
  [[nodiscard]] float AbsMean() const;
  [[nodiscard]] float MinStep() const { return m_minStep; }  // 1 when all samples are equal
  [[nodiscard]] float AbsMax() const { return m_peak; }

 private:
  void AddNearPeak(const float* samples, size_t count);

  double m_sum = 0;
  uint64_t m_count = 0;
  float m_previous = 0;  // the last sample
  float m_minStep = 1.0f;
  float m_limit = 0;
  float m_peak = 0;
  uint64_t m_run = 0;  // samples near the peak up to the last one
  uint64_t m_clipped = 0;
};

}  // namespace quill
