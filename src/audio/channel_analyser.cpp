// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/channel_analyser.h"

#include <algorithm>

namespace quill {

CChannelAnalyser::CChannelAnalyser(uint32_t sampleRate, CRealFFT& fft)
    : m_sampleRate(sampleRate), m_silence(sampleRate), m_spectrum(fft) {}

void CChannelAnalyser::Add(const float* samples, size_t count) {
  m_levels.BeginBlock();
  // In pieces that stay in the fastest memory while all meters pass over them.
  for (size_t done = 0; done < count; done += CLevelMeter::kMostSamples) {
    const size_t piece = std::min(count - done, CLevelMeter::kMostSamples);
    m_levels.Add(samples + done, piece);
    m_silence.Add(samples + done, piece);
    m_spectrum.Add(samples + done, piece);
    m_clicks.Add(samples + done, piece);
  }
}

void CChannelAnalyser::Finish() {
  m_spectrum.Finish();
  m_maxFreq = m_spectrum.HighestFrequency(m_sampleRate);
}

void CChannelAnalyser::Spectra(AnalysisInfo::Spectrum* average,
                               AnalysisInfo::Spectrum* peak) const {
  m_spectrum.Spectra(average, peak);
}

}  // namespace quill
