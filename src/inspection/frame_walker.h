// SPDX-License-Identifier: GPL-3.0-or-later
// Cuts the samples of one channel into overlapping frames and hands out the magnitudes of each, in
// whatever blocks the samples come. Samples that fill no whole frame are dropped. One thread.
#pragma once

#include <algorithm>
#include <cstddef>

#include "signal/aligned_allocator.h"
#include "signal/real_fft.h"

namespace quill {

class CFrameWalker {
 public:
  // `fft` is initialised, may be shared by the channels of one thread, and must outlive the walker.
  // `hop` samples lie between the starts of two frames; at least 1.
  CFrameWalker(CRealFFT& fft, size_t hop) : m_fft(fft), m_hop(hop) { m_frame.reserve(fft.Size()); }

  // Calls take(magnitudes), N/2 + 1 of them, for each frame that becomes whole. False when a
  // transform fails.
  template <class Take>
  [[nodiscard]] bool Add(const float* samples, size_t count, Take take) {
    const size_t size = m_fft.Size();
    while (true) {
      const size_t moved = std::min(count, size - m_frame.size());
      m_frame.insert(m_frame.end(), samples, samples + moved);
      samples += moved;
      count -= moved;
      if (m_frame.size() < size) return true;
      const float* magnitudes = m_fft.Forward(m_frame.data(), size) ? m_fft.Magnitude() : nullptr;
      if (!magnitudes) return false;
      take(magnitudes);
      m_frame.erase(m_frame.begin(), m_frame.begin() + static_cast<ptrdiff_t>(m_hop));
    }
  }

 private:
  CRealFFT& m_fft;
  const size_t m_hop;
  CFloatVector m_frame;  // less than a whole frame between two calls
};

}  // namespace quill
