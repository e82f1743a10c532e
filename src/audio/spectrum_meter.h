// SPDX-License-Identifier: GPL-3.0-or-later
// The average and the peak spectrum of one channel: transforms of 4096 samples, each 2048 behind
// the one before; what is left at the end of a file takes no part. One thread, that of the
// transform.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "audio/analysis_info.h"
#include "audio/frequency_edge.h"
#include "signal/aligned_allocator.h"
#include "signal/real_fft.h"

namespace quill {

class CSpectrumMeter {
 public:
  static constexpr size_t kTransform = 4096;
  static constexpr size_t kBins = kTransform / 2 + 1;
  static_assert(kBins == kEdgeBins);

  // `fft` must outlive the meter.
  explicit CSpectrumMeter(CRealFFT& fft);

  void Add(const float* samples, size_t count);
  // Once, behind the last sample: ends the average.
  void Finish();
  // After Finish.
  void Spectra(AnalysisInfo::Spectrum* average, AnalysisInfo::Spectrum* peak) const;
  [[nodiscard]] uint64_t HighestFrequency(uint32_t sampleRate) const;

 private:
  void AddFrame();

  CRealFFT& m_fft;
  CFloatVector m_frame;  // room for kTransform
  size_t m_waiting = 0;  // samples in it
  CFloatVector m_sum;    // kBins; the average after Finish
  CFloatVector m_peak;   // kBins
  uint64_t m_frames = 0;
};

}  // namespace quill
