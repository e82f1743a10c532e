// SPDX-License-Identifier: GPL-3.0-or-later
// Measures one channel of one file in a single streaming pass: clipping, silent gaps, offset,
// smallest step, peak, highest frequency, clicks and two small spectra. Sees the samples block by
// block, in blocks of any size, and keeps what it needs between them; memory is bound by 10 seconds
// of levels. One object serves one channel of one file, on one thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include "audio/analysis_info.h"
#include "audio/click_search.h"
#include "audio/level_meter.h"
#include "audio/silence_meter.h"
#include "audio/spectrum_meter.h"
#include "signal/real_fft.h"

namespace quill {

class CChannelAnalyser {
 public:
  static constexpr size_t kTransform = CSpectrumMeter::kTransform;

  // `fft` is of length kTransform and may be shared by the channels of one thread; it must outlive
  // the analyser. `sampleRate` in Hz.
  CChannelAnalyser(uint32_t sampleRate, CRealFFT& fft);

  void Add(const float* samples, size_t count);
  // Once, behind the last block: finds the highest frequency and ends the spectra.
  void Finish();
  // After Finish.
  void Spectra(AnalysisInfo::Spectrum* average, AnalysisInfo::Spectrum* peak) const;

  // Samples that are at least the third in a row at the peak. What counts as a block of the file is
  // one Add: it fixes how near to the peak is at it.
  [[nodiscard]] uint64_t Clipping() const { return m_levels.Clipping(); }
  [[nodiscard]] uint64_t Silences() const { return m_silence.Silences(); }
  // |sum / count|; 0 with no samples.
  [[nodiscard]] float AbsMean() const { return m_levels.AbsMean(); }
  [[nodiscard]] float MinStep() const { return m_levels.MinStep(); }
  [[nodiscard]] float AbsMax() const { return m_levels.AbsMax(); }
  [[nodiscard]] uint64_t MaxFreq() const { return m_maxFreq; }  // Hz, after Finish
  [[nodiscard]] uint64_t Clicks() const { return m_clicks.Clicks(); }

 private:
  const uint32_t m_sampleRate;
  CLevelMeter m_levels;
  CSilenceMeter m_silence;
  CSpectrumMeter m_spectrum;
  CClickSearch m_clicks;
  uint64_t m_maxFreq = 0;
};

}  // namespace quill
