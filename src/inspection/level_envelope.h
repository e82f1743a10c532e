// SPDX-License-Identifier: GPL-3.0-or-later
// The level envelope of one file: the least and the greatest sample of each thousandth of its
// length, for two channels. It grows with what has been decoded. One thread adds; any thread may
// look, and sees each value whole.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "decoding/audio_decoder.h"

namespace quill {

// Both start at 0, so each envelope covers the zero line.
struct StatItem {
  std::atomic<float> minimum{0};
  std::atomic<float> maximum{0};
};

class CLevelEnvelope {
 public:
  static constexpr size_t kSlices = 1000;

  void Clear();
  // A block of samples that begins `offset` bytes into the file, which is `total` bytes long; 0
  // when the length is not known, and then nothing happens.
  void Add(const AudioFormat& format, const uint8_t* block, uint64_t bytes, uint64_t offset,
           uint64_t total);
  // The file is at its end.
  void SetEnded() { m_used = kSlices; }

  // Highest slice written; kSlices once the file has ended.
  [[nodiscard]] uint32_t Used() const { return m_used.load(); }
  [[nodiscard]] const StatItem& Slice(size_t channel, size_t slice) const {
    return m_items[channel][slice];
  }

 private:
  void AddValue(size_t channel, size_t slice, float value);

  std::array<std::array<StatItem, kSlices>, 2> m_items;
  std::atomic<uint32_t> m_used{0};
};

}  // namespace quill
