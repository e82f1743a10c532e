// SPDX-License-Identifier: GPL-3.0-or-later
// Counts the silent gaps of one channel: quiet spans of 5 seconds with sound before and after them.
// Holds the levels of the last 10 seconds. One thread.
//
// At each sample the last 5 seconds are judged: quiet when their sum is below that of a mean level
// of 0.01, or when the 5 seconds before them were much louder. Spans are cut into short runs whose
// sums bound what any judgement inside can be; only where the bounds leave it open is every sample
// judged.
#pragma once

#include <cstddef>
#include <cstdint>

#include "signal/aligned_allocator.h"

namespace quill {

class CSilenceMeter {
 public:
  explicit CSilenceMeter(uint32_t sampleRate);

  void Add(const float* samples, size_t count);
  [[nodiscard]] uint64_t Silences() const { return m_silences; }

 private:
  enum class State { kUnknown, kSound, kSilence };

  // Samples up to the first judgement; gives how many it took.
  size_t Fill(const float* samples, size_t count);
  // Samples that cross no border of a half of the ring.
  void Slide(const float* samples, size_t count);
  void JudgeEach(const float* samples, size_t count);
  // Both sums from the levels themselves, against drift.
  void SumAnew();
  void Judge(bool quiet);

  const size_t m_span;        // samples in 5 seconds
  const double m_quietLimit;  // a sum of one span below this is quiet
  CFloatVector m_levels;      // up to two spans of absolute values; then a ring
  size_t m_place = 0;         // of the oldest level, once the ring is full
  double m_first = 0;         // sum of the older span
  double m_second = 0;        // sum of the newer
  State m_state = State::kUnknown;
  uint64_t m_silences = 0;
};

}  // namespace quill
