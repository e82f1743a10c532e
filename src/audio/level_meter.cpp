// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/level_meter.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "audio/sample_scan.h"

namespace quill {

void CLevelMeter::Add(const float* samples, size_t count) {
  std::array<float, kMostSamples / kPeakBlock> peaks;
  const float previous = m_count != 0 ? m_previous : samples[0];
  const SampleScan scan = ScanSamples(samples, count, previous, peaks.data());
  m_sum += scan.sum;
  m_count += count;
  m_previous = samples[count - 1];
  m_minStep = std::min(m_minStep, scan.leastStep);
  for (size_t first = 0; first < count; first += kPeakBlock) {
    // The rounded difference falls as a level rises: if the block's highest is far below the peak,
    // all are.
    if (m_peak - peaks[first / kPeakBlock] > m_limit) {
      m_run = 0;
    } else {
      AddNearPeak(samples + first, std::min(kPeakBlock, count - first));
    }
  }
}

void CLevelMeter::AddNearPeak(const float* samples, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const float level = std::fabs(samples[i]);
    if (m_limit >= std::fabs(m_peak - level)) {
      m_peak = std::max(m_peak, level);
      if (m_run >= 2) ++m_clipped;
      ++m_run;
    } else if (level > m_peak) {
      m_peak = level;
      m_run = 1;
      m_clipped = 0;
    } else {
      m_run = 0;
    }
  }
}

float CLevelMeter::AbsMean() const {
  if (m_count == 0) return 0;
  return static_cast<float>(std::fabs(m_sum / static_cast<double>(m_count)));
}

}  // namespace quill
