// SPDX-License-Identifier: GPL-3.0-or-later
// Decodes the selected stream of a container frame by frame, on the calling thread. Encoder delay
// and padding are dropped. A damaged packet is skipped. Some streams change their rate, channels or
// sample type on the way; every frame comes out in the form of the first.
#pragma once

#include <cstdint>

#include "decoder/input/ffmpeg.h"
#include "decoder/sound/container.h"

namespace quill::decoder {

class CFrameDecoder {
 public:
  // `container` must outlive the decoder.
  explicit CFrameDecoder(CContainer& container) : m_container(container) {}
  CFrameDecoder(const CFrameDecoder&) = delete;
  CFrameDecoder& operator=(const CFrameDecoder&) = delete;

  [[nodiscard]] bool Open(const AVCodec& codec);
  // The next frame that has samples, owned by the decoder and valid until the next call; null at
  // the end of the stream.
  [[nodiscard]] const AVFrame* Next();

  [[nodiscard]] const AVCodecContext& Context() const { return *m_context; }

 private:
  [[nodiscard]] bool Receive();
  [[nodiscard]] bool Feed();
  [[nodiscard]] bool IsLikeFirst() const;
  [[nodiscard]] bool Adapt();

  CContainer& m_container;
  AvPtr<AVCodecContext> m_context;
  AvPtr<AVPacket> m_packet;
  AvPtr<AVFrame> m_frame;
  AvPtr<AVFrame> m_first;  // the form of the first frame, without its samples
  AvPtr<AVFrame> m_adapted;
  AvPtr<SwrContext> m_adapter;
  int m_failures = 0;  // since the last good frame
};

}  // namespace quill::decoder
