// Measures one channel of one file in a single streaming pass: clipping, silent gaps, offset,
// smallest step, peak, highest frequency, clicks and two small spectra. Sees the samples block by
// block, in blocks of any size, and keeps what it needs between them; memory is bound by 15 seconds
// of levels. One object serves one channel of one file, on one thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/analysis_info.h"
#include "signal/aligned_allocator.h"
#include "signal/real_fft.h"

namespace quill {

class CChannelAnalyser {
 public:
  static constexpr size_t kTransform = 4096;
  static constexpr size_t kBins = kTransform / 2 + 1;

  // `fft` is of length kTransform and may be shared by the channels of one thread; it must outlive
  // the analyser. `sampleRate` in Hz.
  CChannelAnalyser(uint32_t sampleRate, CRealFFT& fft);

  void Add(const float* samples, size_t count);
  // Once, behind the last block: finds the highest frequency and ends the spectra.
  void Finish();
  // After Finish.
  void Spectra(AnalysisInfo::Spectrum* average, AnalysisInfo::Spectrum* peak) const;

  [[nodiscard]] uint64_t Clipping() const;
  [[nodiscard]] uint64_t Silences() const;
  // |sum / count|; 0 with no samples.
  [[nodiscard]] float AbsMean() const;
  [[nodiscard]] float MinStep() const;
  [[nodiscard]] float AbsMax() const;
  [[nodiscard]] uint64_t MaxFreq() const;  // Hz, after Finish
  [[nodiscard]] uint64_t Clicks() const;
};

}  // namespace quill
