// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/level_envelope.h"

#include <algorithm>
#include <cstring>

namespace quill {

namespace {

constexpr float kSixteenBits = 3.0517578e-05F;

}  // namespace

void CLevelEnvelope::Clear() {
  for (auto& channel : m_items) {
    for (StatItem& item : channel) {
      item.minimum.store(0, std::memory_order_relaxed);
      item.maximum.store(0, std::memory_order_relaxed);
    }
  }
  m_used = 0;
}

void CLevelEnvelope::AddValue(size_t channel, size_t slice, float value) {
  // One writer: plain reads and writes as far as that is concerned.
  StatItem& item = m_items[channel][slice];
  if (value > item.maximum.load(std::memory_order_relaxed))
    item.maximum.store(value, std::memory_order_relaxed);
  else if (value < item.minimum.load(std::memory_order_relaxed))
    item.minimum.store(value, std::memory_order_relaxed);
}

void CLevelEnvelope::Add(const AudioFormat& format, const uint8_t* block, uint64_t bytes,
                         uint64_t offset, uint64_t total) {
  const uint32_t frameSize = FrameSize(format);
  const uint32_t channels = ChannelCount(format.channelsFormat);
  if (total == 0 || bytes == 0 || frameSize == 0 || channels > m_items.size()) return;
  uint64_t slice = std::min<uint64_t>(offset * kSlices / total, kSlices - 1);
  for (uint64_t at = 0; at + frameSize <= bytes; at += frameSize) {
    while (slice + 1 < kSlices && offset + at >= (slice + 1) * total / kSlices) ++slice;
    for (size_t channel = 0; channel < channels; ++channel) {
      float value = 0;
      if (format.dataFormat == wire::kFloat32) {
        std::memcpy(&value, block + at + channel * sizeof value, sizeof value);
      } else {
        int16_t sample = 0;
        std::memcpy(&sample, block + at + channel * sizeof sample, sizeof sample);
        value = static_cast<float>(sample) * kSixteenBits;
      }
      AddValue(channel, slice, value);
    }
  }
  if (slice > m_used.load()) m_used = static_cast<uint32_t>(slice);
}

}  // namespace quill
