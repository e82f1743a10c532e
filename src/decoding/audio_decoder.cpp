// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/audio_decoder.h"

#include <array>

namespace quill {
namespace {

constexpr std::array<const char*, 13> kFormatNames = {
    "PCM",  "AC-3",           "AAC",          "MP1", "MP2",
    "MP3",  "Musepack",       "Monkey Audio", "OGG", "WavPack",
    "FLAC", "Apple Lossless", "WMA"};

}  // namespace

uint32_t ChannelCount(uint32_t channelsFormat) {
  switch (channelsFormat) {
    case wire::kMono:
      return 1;
    case wire::kStereo:
      return 2;
    case wire::kSixChannels:
      return 6;
    case wire::kEightChannels:
      return 8;
    default:
      return 0;
  }
}

uint32_t FrameSize(const AudioFormat& format) {
  switch (format.dataFormat) {
    case wire::kSigned8:
      return ChannelCount(format.channelsFormat);
    case wire::kSigned16:
      return 2 * ChannelCount(format.channelsFormat);
    case wire::kFloat32:
      return 4 * ChannelCount(format.channelsFormat);
    default:
      return 0;
  }
}

const char* FormatName(uint32_t formatId) {
  return formatId >= 1 && formatId <= kFormatNames.size() ? kFormatNames[formatId - 1] : "-";
}

int32_t CAudioDecoder::Open(const std::string& path, uint32_t flags) {
  m_format = {};
  uint32_t status = 0;
  const bool answered = m_link.SendCommand([&] {
    return m_link.WriteCmd(wire::kAudioOpen) && m_link.Write(std::string_view(path)) &&
           m_link.WriteWord(flags) && m_link.ReadReply(wire::kAudioOpen, &status);
  });
  if (!answered) return LinkFailed("Open", 58);
  if (status != 0) return static_cast<int32_t>(status);
  AudioFormat format;
  if (!m_link.Read(&format, sizeof format)) return LinkFailed("Open", 71);
  m_format = format;
  return kDecodeOk;
}

int32_t CAudioDecoder::GetInfo(wire::AudioInfo* info) {
  if (!info) return BadArgument("GetInfo", 84);
  *info = {};
  if (!m_link.IsOpen()) return BadArgument("GetInfo", 88);
  uint32_t status = 0;
  if (!AskDecoder(m_link, wire::kAudioInfo, &status)) return LinkFailed("GetInfo", 96);
  if (status != 0) return static_cast<int32_t>(status);
  if (!m_link.Read(info, sizeof *info)) {
    *info = {};
    return LinkFailed("GetInfo", 103);
  }
  for (char* text : {info->title, info->artist, info->album}) text[sizeof info->title - 1] = '\0';
  return kDecodeOk;
}

int32_t CAudioDecoder::GetFormat(AudioFormat* format) const {
  if (!format) return BadArgument("GetFormat", 112);
  *format = m_format;
  return kDecodeOk;
}

int32_t CAudioDecoder::GetData(const uint8_t** block, uint32_t* size) {
  if (!block || !size) return BadArgument("GetData", 123);
  *block = nullptr;
  *size = 0;
  if (!m_link.IsOpen()) return BadArgument("GetData", 128);
  uint32_t status = 0;
  if (!AskDecoder(m_link, wire::kAudioData, &status)) return LinkFailed("GetData", 136);
  if (status != 0) return static_cast<int32_t>(status);
  uint32_t count = 0;
  if (!m_link.ReadWord(&count)) return LinkFailed("GetData", 142);
  if (count == 0) return kDecodeOk;
  if (!m_link.Map() || count > m_link.MapSize()) return NotInMapping(m_link, 147, 149);
  *block = m_link.Map();
  *size = count;
  return kDecodeOk;
}

int32_t CAudioDecoder::Close() {
  m_format = {};
  if (!m_link.IsOpen()) return BadArgument("Close", 161);
  uint32_t status = 0;
  if (!AskDecoder(m_link, wire::kAudioClose, &status)) return LinkFailed("Close", 168);
  if (status != 0) return static_cast<int32_t>(status);
  return m_link.PurgeMapping() ? kDecodeOk : LinkFailed("Close", 174);
}

}  // namespace quill
