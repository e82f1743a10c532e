// SPDX-License-Identifier: GPL-3.0-or-later
// Turns any supported source format into a mono stream of 32-bit floats at a rate of the caller's
// choice, in one pass over the decoder's mapped blocks straight into the caller's vector. Whole
// ratios average groups of frames; other ratios use a box filter that splits the frame on the
// border linearly. The steps are specialised by format and channel count. Thread of the link.
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoding/audio_decoder.h"
#include "signal/aligned_allocator.h"

namespace quill {

class CSampleConverter {
 public:
  // Running state of a conversion; carried over block edges, so that no frame is dropped.
  struct State {
    float sum = 0;       // of the output sample being built
    float scale = 0;     // 1 / ratio, whole ratios only
    uint32_t count = 0;  // frames added to sum so far
    uint32_t ratio = 0;  // source rate / target rate, whole ratios only
    float position = 0;  // fractional read position, other ratios only
    float last = 0;      // the previous input value, other ratios only
    float floatRatio = 0;
  };
  struct Taken {
    size_t frames;   // source frames consumed
    size_t samples;  // output samples written
  };
  // Converts up to `frames` source frames into up to `room` samples.
  using Step = Taken (*)(State& state, const uint8_t* source, size_t frames, float* target,
                         size_t room);

  // After a successful Open of `client`, which must outlive the converter. False after a report
  // when already initialised, or for a format or rate that no row serves.
  [[nodiscard]] bool Init(CAudioDecoder& client, uint32_t targetRate);
  // Extends `samples` until it holds `wanted` values or the stream ends.
  [[nodiscard]] bool Decode(CFloatVector* samples, size_t wanted);

 private:
  CAudioDecoder* m_client = nullptr;
  Step m_convert = nullptr;  // null until Init
  State m_state;
  uint32_t m_sourceFrameSize = 0;  // bytes
  bool m_ended = false;
  const uint8_t* m_block = nullptr;
  uint32_t m_blockSize = 0;
  uint32_t m_blockOffset = 0;
};

}  // namespace quill
