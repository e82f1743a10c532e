#include "decoder/audio_file.h"

#include <algorithm>
#include <cstring>

#include "decoder/audio_info.h"
#include "decoder/sound_probe.h"

namespace quill::decoder {

namespace {

bool IsDeep(const AVCodecContext& codec, AVSampleFormat type) {
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec.codec_id);
  if (descriptor == nullptr || (descriptor->props & AV_CODEC_PROP_LOSSLESS) == 0) return false;
  // This codec is lossless in one of its many profiles only.
  if (codec.codec_id == AV_CODEC_ID_DTS && codec.profile != FF_PROFILE_DTS_HD_MA) return false;
  const int typeBits = av_get_bytes_per_sample(type) * 8;
  return typeBits > 16 && (codec.bits_per_raw_sample == 0 || codec.bits_per_raw_sample > 16);
}

}  // namespace

Status CAudioFile::Open(const std::string& path, uint32_t flags, const CDecoderRows& rows) {
  if (!m_file.Open(path)) return Status::kCannotRead;
  const char* demuxer = ProbeSound(m_file);
  if (demuxer == nullptr || !rows.Allow(path, demuxer)) return Status::kUnknownFormat;
  if (!m_container.Open(demuxer)) return Status::kUnknownFormat;
  if ((flags & wire::kRefuseVideo) != 0 && m_container.HasVideo()) return Status::kVideoRefused;
  const AVCodec* codec = m_container.SelectSound();
  if (codec == nullptr || !m_decoder.Open(*codec)) return Status::kNoSound;
  m_frame = m_decoder.Next();
  return InitOutput() ? Status::kOk : Status::kNoSound;
}

// Without a frame (a stream of length 0) the container's word has to do.
bool CAudioFile::InitOutput() {
  const AVCodecParameters& parameters = *m_container.Stream().codecpar;
  SourceForm source{};
  source.type =
      static_cast<AVSampleFormat>(m_frame != nullptr ? m_frame->format : AV_SAMPLE_FMT_S16);
  source.layout = m_frame != nullptr ? &m_frame->ch_layout : &parameters.ch_layout;
  source.sampleRate = m_frame != nullptr ? m_frame->sample_rate : parameters.sample_rate;
  source.deep = IsDeep(m_decoder.Context(), source.type);
  return m_output.Init(source);
}

void CAudioFile::FillInfo(wire::AudioInfo& info) const {
  FillAudioInfo(m_container, m_file.Size(), m_decoder.Context().bit_rate, info);
}

size_t CAudioFile::Read(std::span<uint8_t> block) {
  const uint32_t frameSize = m_output.FrameSize();
  size_t wanted = block.size() / frameSize;
  if (!m_varied) wanted = std::min<size_t>(wanted, kShortBlockFrames);
  size_t done = 0;
  while (m_frame != nullptr && done < wanted) {
    const uint32_t left = static_cast<uint32_t>(m_frame->nb_samples) - m_framePosition;
    const auto count = static_cast<uint32_t>(std::min<size_t>(left, wanted - done));
    m_output.Convert(*m_frame, m_framePosition, count, block.data() + done * frameSize);
    done += count;
    m_framePosition += count;
    if (count < left) break;
    m_frame = m_decoder.Next();
    m_framePosition = 0;
  }
  if (!m_varied) NoteVariation(block.first(done * frameSize));
  return done * frameSize;
}

void CAudioFile::NoteVariation(std::span<const uint8_t> block) {
  const size_t frameSize = m_output.FrameSize();
  if (block.empty()) return;
  if (!m_hasStart) std::memcpy(m_start.data(), block.data(), frameSize);
  m_hasStart = true;
  for (size_t i = 0; i < block.size() && !m_varied; i += frameSize)
    m_varied = std::memcmp(block.data() + i, m_start.data(), frameSize) != 0;
}

}  // namespace quill::decoder
