// SPDX-License-Identifier: GPL-3.0-or-later
// Reading single samples of an interleaved block, and the factors that bring them to the range of
// about -1 to 1. The factors are powers of two, so scaling an integer sample is exact.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace quill {

template <class Sample>
inline constexpr float kSampleScale = 1.0F;
template <>
inline constexpr float kSampleScale<int8_t> = 0.0078125F;
template <>
inline constexpr float kSampleScale<int16_t> = 3.0517578e-05F;

// The sample as it is stored, at its place in the block.
template <class Sample>
[[nodiscard]] inline Sample SampleAt(const uint8_t* block, size_t index) {
  Sample sample;
  std::memcpy(&sample, block + index * sizeof sample, sizeof sample);
  return sample;
}

}  // namespace quill
