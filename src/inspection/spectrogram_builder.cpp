// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/spectrogram_builder.h"

#include <algorithm>
#include <utility>

#include "signal/vector_ops.h"

namespace quill {

void CSpectrogramBuilder::Begin(const Run& run) {
  m_fresh = {};
  m_frames = {};
  for (size_t channel = 0; channel < kChannels; ++channel) {
    m_fresh.means[channel].assign(run.bins, 0.0F);
    m_fresh.peaks[channel].assign(run.bins, 0.0F);
  }
}

void CSpectrogramBuilder::TakeFrame(size_t channel, const float* magnitudes) {
  const auto bins = static_cast<int32_t>(m_fresh.means[channel].size());
  (void)VecAddInPlace(magnitudes, m_fresh.means[channel].data(), bins);
  (void)VecMaxEveryInPlace(magnitudes, m_fresh.peaks[channel].data(), bins);
  ++m_frames[channel];
}

bool CSpectrogramBuilder::Publish(const Run& run) {
  for (size_t channel = 0; channel < kChannels; ++channel) {
    const auto frames = static_cast<float>(m_frames[channel]);
    CFloatVector& means = m_fresh.means[channel];
    CFloatVector& peaks = m_fresh.peaks[channel];
    for (size_t bin = 0; bin < run.bins; ++bin) {
      means[bin] = means[bin] / frames / Scale(run, bin);
      peaks[bin] /= Scale(run, bin);
    }
    m_fresh.maxValue = std::max(m_fresh.maxValue, *std::max_element(peaks.begin(), peaks.end()));
  }
  m_fresh.sampleRate = run.sampleRate;
  m_shown.Show(std::exchange(m_fresh, {}));
  return true;
}

}  // namespace quill
