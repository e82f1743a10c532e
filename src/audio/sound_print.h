// SPDX-License-Identifier: GPL-3.0-or-later
// From samples to prints: mono floats at 22050 Hz, at most 60 s, in; SpectrumPrint, BarkPrint or
// CorrelogramPrint out. Constants are in samples at that rate. One object belongs to one thread and
// is reused from file to file; nothing here locks or decodes beyond its converter.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "audio/prints.h"
#include "decoding/sample_converter.h"
#include "signal/aligned_allocator.h"
#include "signal/real_fft.h"

namespace quill {

inline constexpr uint32_t kPrintRate = 22050;  // Hz
inline constexpr size_t kLongSound = 661500;   // 30 s: tells a long file from a short one
inline constexpr size_t kMostSound = 1323000;  // 60 s: the most that is held

class CSoundPrint {
 public:
  // Reads up to `most` samples and cuts what is ahead of the start of the sound; fewer than `least`
  // are kept as they are. False on a read failure (reported) and on a silent file (not reported).
  [[nodiscard]] bool LoadSound(CSampleConverter& reader, size_t least, size_t most);
  // Puts samples in place of LoadSound's.
  void SetSamples(CFloatVector samples) { m_samples = std::move(samples); }
  [[nodiscard]] const CFloatVector& Samples() const { return m_samples; }

  // Each false after a report, or with none where told.
  [[nodiscard]] bool CalculateFFTDeflection(CFloatVector* spectrum, CFloatVector* deflection);
  [[nodiscard]] bool CalculateSkeleton(CFloatVector* skeleton) const;
  [[nodiscard]] bool AnalyseSound(BarkPrint* print);
  // Fewer than 6144 samples: false with no report.
  [[nodiscard]] bool CalculateCorrelogram(CByteVector* values) const;

  // `data` holds frames of `frame` magnitudes one behind the other. out[b] gets one Pearson value
  // per frame position between the sums of `block` frames from there and of the `block` behind.
  [[nodiscard]] static bool BuildBarks(const float* data, size_t count, size_t frame, size_t block,
                                       std::array<CFloatVector, kBarkBands>* out);
  // The index in `samples` where the sound starts.
  [[nodiscard]] static size_t FindStart(std::span<const float> samples, float meanLevel);

 private:
  [[nodiscard]] bool PrepareFFT();
  // Scales each run of `run` values to 0 to 1, except flat ones, and makes bytes of all.
  [[nodiscard]] static bool Compress(CFloatVector* changes, size_t run, CByteVector* bytes);

  CFloatVector m_samples;
  CRealFFT m_fft;  // 4096, made at first use
};

}  // namespace quill
