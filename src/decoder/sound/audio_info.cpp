// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/audio_info.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "decoder/input/text_field.h"

namespace quill::decoder {

namespace {

uint32_t Word(int64_t value) {
  return static_cast<uint32_t>(std::clamp<int64_t>(value, 0, std::numeric_limits<uint32_t>::max()));
}

uint32_t FormatOf(const CContainer& container) {
  const AVCodecID codec = container.Stream().codecpar->codec_id;
  if (codec >= AV_CODEC_ID_PCM_S16LE && codec < AV_CODEC_ID_ADPCM_IMA_QT) return wire::kPcm;
  switch (codec) {
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
      return wire::kAc3;
    case AV_CODEC_ID_AAC:
    case AV_CODEC_ID_AAC_LATM:
      return wire::kAac;
    case AV_CODEC_ID_MP1:
      return wire::kMp1;
    case AV_CODEC_ID_MP2:
      return wire::kMp2;
    case AV_CODEC_ID_MP3:
      return wire::kMp3;
    case AV_CODEC_ID_MUSEPACK7:
    case AV_CODEC_ID_MUSEPACK8:
      return wire::kMusepack;
    case AV_CODEC_ID_APE:
      return wire::kMonkeyAudio;
    case AV_CODEC_ID_WAVPACK:
      return wire::kWavPack;
    case AV_CODEC_ID_FLAC:
      return wire::kFlac;
    case AV_CODEC_ID_ALAC:
      return wire::kAppleLossless;
    case AV_CODEC_ID_WMAV1:
    case AV_CODEC_ID_WMAV2:
    case AV_CODEC_ID_WMAPRO:
    case AV_CODEC_ID_WMALOSSLESS:
    case AV_CODEC_ID_WMAVOICE:
      return wire::kWma;
    case AV_CODEC_ID_VORBIS:
    case AV_CODEC_ID_OPUS:
    case AV_CODEC_ID_SPEEX:
      return std::strcmp(container.Context().iformat->name, "ogg") == 0 ? uint32_t{wire::kOgg} : 0;
    default:
      return 0;
  }
}

int64_t DurationMs(const CContainer& container, const DecodedFacts& facts, int64_t bitrate) {
  const AVStream& stream = container.Stream();
  if (facts.soundFrames > 0 && facts.sampleRate > 0)
    return av_rescale(static_cast<int64_t>(facts.soundFrames), 1000, facts.sampleRate);
  if (stream.duration > 0) return av_rescale_q(stream.duration, stream.time_base, {1, 1000});
  if (container.Context().duration > 0) return container.Context().duration / (AV_TIME_BASE / 1000);
  return bitrate > 0 ? av_rescale(static_cast<int64_t>(facts.fileSize), 8000, bitrate) : 0;
}

// A text of the file's tags: those of the whole file come before those of the stream.
void CopyTag(const CContainer& container, const char* key, std::span<char> field) {
  for (const AVDictionary* tags : {container.Context().metadata, container.Stream().metadata}) {
    const AVDictionaryEntry* entry = av_dict_get(tags, key, nullptr, 0);
    if (entry != nullptr && *entry->value != '\0') {
      CopyText(entry->value, field);
      return;
    }
  }
}

}  // namespace

void FillAudioInfo(const CContainer& container, const DecodedFacts& facts, wire::AudioInfo& info) {
  int64_t bitrate = container.Stream().codecpar->bit_rate;
  if (bitrate <= 0) bitrate = facts.bitrate;
  if (bitrate <= 0) bitrate = container.Context().bit_rate;
  const int64_t durationMs = DurationMs(container, facts, bitrate);
  if (bitrate <= 0 && durationMs > 0)
    bitrate = av_rescale(static_cast<int64_t>(facts.fileSize), 8000, durationMs);
  info = {};
  info.format = FormatOf(container);
  info.durationMs = Word(durationMs);
  info.bitrate = Word(bitrate);
  CopyTag(container, "title", info.title);
  CopyTag(container, "artist", info.artist);
  CopyTag(container, "album", info.album);
}

}  // namespace quill::decoder
