// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/spectrum_meter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

#include "signal/vector_ops.h"

namespace quill {
namespace {

constexpr size_t kHop = CSpectrumMeter::kTransform / 2;
constexpr auto kBinCount = static_cast<int32_t>(CSpectrumMeter::kBins);

uint8_t LevelByte(float magnitude) {
  constexpr float kFloor = 3.1622776e-8f;  // -150 dB
  const float level = magnitude > kFloor ? 20 * std::log10(magnitude) : -150;
  const float byte = (level + 150) / 150 * 255;
  if (byte >= 255) return 255;
  return byte > 0 ? static_cast<uint8_t>(byte) : 0;
}

void Bands(const CFloatVector& values, AnalysisInfo::Spectrum* bytes) {
  constexpr size_t kBins = CSpectrumMeter::kBins;
  const size_t bands = bytes->size();
  for (size_t band = 0; band < bands; ++band) {
    const size_t first = kBins * band / bands;
    const size_t end = kBins * (band + 1) / bands;
    float mean = 0;
    (void)VecMean(values.data() + first, static_cast<int32_t>(end - first), &mean);
    (*bytes)[band] = LevelByte(mean / CSpectrumMeter::kTransform);
  }
}

}  // namespace

CSpectrumMeter::CSpectrumMeter(CRealFFT& fft)
    : m_fft(fft), m_frame(kTransform), m_sum(kBins), m_peak(kBins) {}

void CSpectrumMeter::Add(const float* samples, size_t count) {
  while (count > 0) {
    const size_t taken = std::min(count, kTransform - m_waiting);
    std::copy_n(samples, taken, m_frame.data() + m_waiting);
    m_waiting += taken;
    samples += taken;
    count -= taken;
    if (m_waiting == kTransform) AddFrame();
  }
}

void CSpectrumMeter::AddFrame() {
  const float* const magnitude =
      m_fft.Forward(m_frame.data(), kTransform) ? m_fft.Magnitude() : nullptr;
  if (magnitude) {
    (void)VecAddInPlace(magnitude, m_sum.data(), kBinCount);
    (void)VecMaxEveryInPlace(magnitude, m_peak.data(), kBinCount);
    ++m_frames;
  }
  std::copy_n(m_frame.data() + kHop, kHop, m_frame.data());
  m_waiting = kHop;
}

void CSpectrumMeter::Finish() {
  if (m_frames != 0)
    (void)VecDivConstInPlace(static_cast<float>(m_frames), m_sum.data(), kBinCount);
}

void CSpectrumMeter::Spectra(AnalysisInfo::Spectrum* average, AnalysisInfo::Spectrum* peak) const {
  Bands(m_sum, average);
  Bands(m_peak, peak);
}

uint64_t CSpectrumMeter::HighestFrequency(uint32_t sampleRate) const {
  return quill::HighestFrequency(std::span<const float, kBins>(m_peak.data(), kBins), sampleRate);
}

}  // namespace quill
