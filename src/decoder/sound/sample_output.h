// SPDX-License-Identifier: GPL-3.0-or-later
// Turns decoded frames into the interleaved samples that go to the application.
//
// Lossy codecs are rounded to 16 bits without dither, and so is lossless material of at most 16
// bits; deeper lossless material becomes float. The rounding matters: the flat floor that it leaves
// lets the application find the frequency at which an encoder cut the sound off, which a codec's
// own float output hides. Mono goes out as float, with the same rounding, in steps of 1/32768: the
// application's channel splitter gives true levels for that type only. Two, six and eight channels
// keep their number and order; any other number is mixed to stereo.
#pragma once

#include <cstdint>
#include <vector>

#include "decoder/input/ffmpeg.h"
#include "decoding/wire.h"

namespace quill::decoder {

// What a stream decodes to.
struct SourceForm {
  AVSampleFormat type;
  const AVChannelLayout* layout;
  int sampleRate;
  bool deep;  // lossless, of more than 16 bits
};

class CSampleOutput {
 public:
  [[nodiscard]] bool Init(const SourceForm& source);
  // Frames [first, first + count) of a frame of the source's form.
  void Convert(const AVFrame& frame, uint32_t first, uint32_t count, uint8_t* target);

  [[nodiscard]] const wire::AudioFormat& Format() const { return m_format; }
  // Bytes of one interleaved frame.
  [[nodiscard]] uint32_t FrameSize() const { return m_frameSize; }

 private:
  void ConvertSamples(const AVFrame& frame, uint32_t first, uint32_t count, uint8_t* target);

  AvPtr<SwrContext> m_converter;
  wire::AudioFormat m_format{};
  uint32_t m_frameSize = 0;
  bool m_widen = false;            // 16-bit mono, which goes out as float
  std::vector<int16_t> m_rounded;  // the samples on that way
};

}  // namespace quill::decoder
