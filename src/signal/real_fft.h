// SPDX-License-Identifier: GPL-3.0-or-later
// A real forward transform with a symmetric Hann window, for fingerprints, analysis and spectra.
// Nothing is scaled: the gain of the window is not undone. One object belongs to one thread; plans
// are shared process-wide per length and made once under one mutex.
#pragma once

#include <cstddef>

#include "signal/aligned_allocator.h"

namespace quill {

class CRealFFT {
 public:
  // `size` is the transform length N, a power of two from 2^5 to 2^16. Once only; a second call
  // reports and fails.
  [[nodiscard]] bool Init(size_t size);
  [[nodiscard]] size_t Size() const { return m_size; }  // 0 until Init
  // Windows and transforms `count` = N samples.
  [[nodiscard]] bool Forward(const float* samples, size_t count);
  // The N/2 + 1 magnitudes of the last Forward, DC first, Nyquist last; valid until the next
  // Forward. Null on failure.
  [[nodiscard]] const float* Magnitude();

 private:
  const void* m_plan = nullptr;  // owned by the process-wide table of plans
  size_t m_size = 0;
  CFloatVector m_window;    // N
  CFloatVector m_block;     // N: windowed samples, then magnitudes
  CFloatVector m_spectrum;  // N: the transform of the samples taken in pairs as complex values
  CFloatVector m_turns;     // that lead from there to the real transform
};

}  // namespace quill
