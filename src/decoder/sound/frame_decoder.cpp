// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/frame_decoder.h"

namespace quill::decoder {

namespace {

// Damaged packets in a row after which the rest of a file counts as damaged.
constexpr int kMaxFailures = 1000;

}  // namespace

bool CFrameDecoder::Open(const AVCodec& codec) {
  m_context.reset(avcodec_alloc_context3(&codec));
  m_packet.reset(av_packet_alloc());
  m_frame.reset(av_frame_alloc());
  if (m_context == nullptr || m_packet == nullptr || m_frame == nullptr) return false;
  const AVStream& stream = m_container.Stream();
  if (avcodec_parameters_to_context(m_context.get(), stream.codecpar) < 0) return false;
  m_context->pkt_timebase = stream.time_base;  // dropping of delay and padding counts in it
  m_context->thread_count = 1;
  return avcodec_open2(m_context.get(), &codec, nullptr) == 0;
}

const AVFrame* CFrameDecoder::Next() {
  while (Receive()) {
    if (m_first == nullptr) {
      m_first.reset(av_frame_alloc());
      if (m_first == nullptr) return nullptr;
      m_first->format = m_frame->format;
      m_first->sample_rate = m_frame->sample_rate;
      if (av_channel_layout_copy(&m_first->ch_layout, &m_frame->ch_layout) < 0) return nullptr;
    }
    if (IsLikeFirst()) return m_frame.get();
    if (Adapt()) return m_adapted.get();
  }
  return nullptr;
}

bool CFrameDecoder::Receive() {
  while (m_failures < kMaxFailures) {
    const int result = avcodec_receive_frame(m_context.get(), m_frame.get());
    if (result == AVERROR_EOF) return false;
    if (result == AVERROR(EAGAIN) && Feed()) continue;
    if (result < 0) {
      ++m_failures;
      continue;
    }
    // The MPEG audio codec labels a frame with the rate of the one before.
    m_frame->sample_rate = m_context->sample_rate;
    if (m_frame->nb_samples > 0 && m_frame->sample_rate > 0) {
      m_failures = 0;
      return true;
    }
  }
  return false;
}

// At the end of the file an empty packet tells the codec to hand out what it still holds.
bool CFrameDecoder::Feed() {
  const bool hasPacket = m_container.NextPacket(*m_packet);
  return avcodec_send_packet(m_context.get(), hasPacket ? m_packet.get() : nullptr) == 0;
}

bool CFrameDecoder::IsLikeFirst() const {
  return m_frame->format == m_first->format && m_frame->sample_rate == m_first->sample_rate &&
         av_channel_layout_compare(&m_frame->ch_layout, &m_first->ch_layout) == 0;
}

bool CFrameDecoder::Adapt() {
  if (m_adapter == nullptr) m_adapter.reset(swr_alloc());
  m_adapted.reset(av_frame_alloc());
  if (m_adapter == nullptr || m_adapted == nullptr) return false;
  m_adapted->format = m_first->format;
  m_adapted->sample_rate = m_first->sample_rate;
  if (av_channel_layout_copy(&m_adapted->ch_layout, &m_first->ch_layout) < 0) return false;
  int result = swr_convert_frame(m_adapter.get(), m_adapted.get(), m_frame.get());
  if (result == AVERROR_INPUT_CHANGED) {
    swr_close(m_adapter.get());
    result = swr_convert_frame(m_adapter.get(), m_adapted.get(), m_frame.get());
  }
  return result == 0 && m_adapted->nb_samples > 0;
}

}  // namespace quill::decoder
