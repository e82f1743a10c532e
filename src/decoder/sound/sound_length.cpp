// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/sound_length.h"

#include <array>
#include <cstring>
#include <span>
#include <string_view>

namespace quill::decoder {

namespace {

// Delay of the synthesis filter, which a Musepack encoder takes for granted.
constexpr uint64_t kMusepackDelay = 481;
// A movie's tables tell the length of the sound, but in a fragmented one only of a part of it. The
// rest counts as padding only if there is no more of it than an encoder makes.
constexpr int64_t kMaxPadding = 8192;

// A number in groups of seven bits, the highest first; moves `bytes` behind it.
uint64_t TakeNumber(std::span<const uint8_t>& bytes) {
  uint64_t value = 0;
  while (!bytes.empty()) {
    const uint8_t byte = bytes[0];
    bytes = bytes.subspan(1);
    value = value << 7 | (byte & 0x7F);
    if ((byte & 0x80) == 0) break;
  }
  return value;
}

// The stream header of Musepack 8 counts in samples; the demuxer tells only whole blocks of them.
SoundLength MusepackLength(const CInputFile& file, uint64_t offset) {
  SoundLength length{kMusepackDelay, 0};
  std::array<uint8_t, 64> buffer{};
  const size_t count = file.ReadAt(offset, buffer.data(), buffer.size());
  constexpr std::string_view kStart = "MPCKSH";
  if (count < buffer.size() || std::memcmp(buffer.data(), kStart.data(), kStart.size()) != 0)
    return length;
  constexpr size_t kChecksumAndVersion = 5;
  std::span<const uint8_t> rest = std::span<const uint8_t>(buffer).subspan(kStart.size());
  (void)TakeNumber(rest);  // size of the packet
  if (rest.size() < kChecksumAndVersion) return length;
  rest = rest.subspan(kChecksumAndVersion);
  const uint64_t samples = TakeNumber(rest);
  const uint64_t silence = TakeNumber(rest);
  if (silence >= samples) return length;
  return {kMusepackDelay + silence, samples - silence};
}

SoundLength MovieLength(const AVStream& stream, const AVCodecContext& codec) {
  if (stream.duration <= 0 || codec.sample_rate <= 0) return {};
  const int64_t frames = av_rescale_q(stream.duration, stream.time_base, {1, codec.sample_rate});
  const int64_t padding = stream.nb_frames * codec.frame_size - frames;
  if (padding <= 0 || padding > kMaxPadding) return {};
  return {0, static_cast<uint64_t>(frames)};
}

}  // namespace

SoundLength FindSoundLength(const CInputFile& file, const ProbeResult& probe,
                            const CContainer& container, const AVCodecContext& codec) {
  const std::string_view demuxer = probe.demuxer;
  if (demuxer == "mpc") return {kMusepackDelay, 0};
  if (demuxer == "mpc8") return MusepackLength(file, probe.offset);
  return demuxer == "mov" ? MovieLength(container.Stream(), codec) : SoundLength{};
}

}  // namespace quill::decoder
