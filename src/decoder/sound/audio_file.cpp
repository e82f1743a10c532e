// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/audio_file.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "decoder/sound/audio_info.h"
#include "decoder/sound/sound_probe.h"

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
  const ProbeResult probe = ProbeSound(m_file);
  if (probe.demuxer == nullptr || !rows.Allow(path, probe.demuxer)) return Status::kUnknownFormat;
  if (!m_container.Open(probe.demuxer)) return Status::kUnknownFormat;
  if ((flags & wire::kRefuseVideo) != 0 && m_container.HasVideo()) return Status::kVideoRefused;
  const AVCodec* codec = m_container.SelectSound();
  if (codec == nullptr || !m_decoder.Open(*codec)) return Status::kNoSound;
  m_frame = m_decoder.Next();
  if (!InitOutput()) return Status::kNoSound;
  m_length = FindSoundLength(m_file, probe, m_container, m_decoder.Context());
  m_delayLeft = m_length.delay;
  m_framesLeft = m_length.frames > 0 ? m_length.frames : std::numeric_limits<uint64_t>::max();
  return Status::kOk;
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
  DecodedFacts facts;
  facts.fileSize = m_file.Size();
  facts.bitrate = m_decoder.Context().bit_rate;
  facts.soundFrames = m_length.frames;
  facts.sampleRate = m_output.Format().sampleRate;
  FillAudioInfo(m_container, facts, info);
}

size_t CAudioFile::Read(std::span<uint8_t> block) {
  const uint32_t frameSize = m_output.FrameSize();
  uint64_t wanted = std::min<uint64_t>(block.size() / frameSize, m_framesLeft);
  if (!m_varied) wanted = std::min<uint64_t>(wanted, kShortBlockFrames);
  uint64_t done = 0;
  while (done < wanted) {
    const uint32_t available = Available();
    if (available == 0) break;
    const auto count = static_cast<uint32_t>(std::min<uint64_t>(available, wanted - done));
    m_output.Convert(*m_frame, m_framePosition, count, block.data() + done * frameSize);
    m_framePosition += count;
    done += count;
  }
  m_framesLeft -= done;
  if (!m_varied) NoteVariation(block.first(done * frameSize));
  return done * frameSize;
}

uint32_t CAudioFile::Available() {
  while (m_frame != nullptr) {
    uint32_t available = static_cast<uint32_t>(m_frame->nb_samples) - m_framePosition;
    const auto dropped = static_cast<uint32_t>(std::min<uint64_t>(available, m_delayLeft));
    m_delayLeft -= dropped;
    m_framePosition += dropped;
    available -= dropped;
    if (available > 0) return available;
    m_frame = m_decoder.Next();
    m_framePosition = 0;
  }
  return 0;
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
