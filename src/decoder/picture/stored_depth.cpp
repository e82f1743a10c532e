// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/picture/stored_depth.h"

#include <algorithm>
#include <array>

namespace quill::decoder {

namespace {

constexpr uint64_t kMaxTags = 4096;  // of a directory; more are damage
constexpr uint64_t kBitsPerSample = 258;
constexpr uint64_t kSamplesPerPixel = 277;
constexpr size_t kShortBytes = 2;

class CTiffNumbers {
 public:
  explicit CTiffNumbers(const CInputFile& file) : m_file(file) { m_bigEndian = Read(0, 1) == 'M'; }

  // 0 behind the end of the file.
  [[nodiscard]] uint64_t Read(uint64_t offset, size_t bytes) const {
    std::array<uint8_t, 8> buffer{};
    if (m_file.ReadAt(offset, buffer.data(), bytes) != bytes) return 0;
    uint64_t value = 0;
    for (size_t i = 0; i < bytes; ++i) value = value << 8 | buffer[m_bigEndian ? i : bytes - 1 - i];
    return value;
  }

 private:
  const CInputFile& m_file;
  bool m_bigEndian = false;
};

}  // namespace

uint32_t PngDepth(std::span<const uint8_t> head) {
  constexpr size_t kDepth = 24;
  constexpr size_t kColourType = 25;
  constexpr std::array<uint32_t, 7> kSamples{1, 0, 3, 1, 2, 0, 4};
  if (head.size() <= kColourType || head[kColourType] >= kSamples.size()) return 0;
  return head[kDepth] * kSamples[head[kColourType]];
}

uint32_t TiffDepth(const CInputFile& file) {
  const CTiffNumbers numbers(file);
  const bool isBig = numbers.Read(2, 2) == 43;
  // A tag is its number and its type, two bytes each, then count and value in words of the file.
  const size_t word = isBig ? 8 : 4;
  const size_t tagBytes = 4 + 2 * word;
  const size_t countBytes = isBig ? 8 : 2;
  const uint64_t directory = numbers.Read(isBig ? 8 : 4, word);
  const uint64_t tags = std::min(numbers.Read(directory, countBytes), kMaxTags);
  uint64_t bits = 1;
  uint64_t samples = 1;
  for (uint64_t i = 0; i < tags; ++i) {
    const uint64_t tag = directory + countBytes + i * tagBytes;
    const uint64_t number = numbers.Read(tag, 2);
    if (number > kSamplesPerPixel) break;
    uint64_t value = tag + 4 + word;
    if (number == kSamplesPerPixel) samples = numbers.Read(value, kShortBytes);
    if (number != kBitsPerSample) continue;
    const bool isElsewhere = numbers.Read(tag + 4, word) * kShortBytes > word;
    if (isElsewhere) value = numbers.Read(value, word);
    bits = numbers.Read(value, kShortBytes);
  }
  return tags > 0 ? static_cast<uint32_t>(bits * samples) : 0;
}

}  // namespace quill::decoder
