// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/sound_probe.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "decoder/input/byte_order.h"
#include "decoder/sound/frame_headers.h"

namespace quill::decoder {

namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const uint8_t>;

constexpr size_t kSignatureBytes = 4096;
constexpr size_t kSearchBytes = 65536;
constexpr int kMaxLeadingTags = 8;

struct Signature {
  std::string_view start;
  std::string_view atEight;  // a second word, at offset 8; empty for none
  const char* demuxer;
};

constexpr std::array kSignatures{
    Signature{"RIFF"sv, "WAVE"sv, "wav"},
    Signature{"RF64"sv, "WAVE"sv, "wav"},
    Signature{"BW64"sv, "WAVE"sv, "wav"},
    Signature{"RIFF"sv, "AVI "sv, "avi"},
    Signature{"RIFF"sv, "XWMA"sv, "xwma"},
    Signature{"riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\x00\x00"sv, {}, "w64"},
    Signature{"FORM"sv, "AIFF"sv, "aiff"},
    Signature{"FORM"sv, "AIFC"sv, "aiff"},
    Signature{"FORM"sv, "8SVX"sv, "iff"},
    Signature{"caff"sv, {}, "caf"},
    Signature{".snd"sv, {}, "au"},
    Signature{"Creative Voice File\x1A"sv, {}, "voc"},
    Signature{"fLaC"sv, {}, "flac"},
    Signature{"OggS"sv, {}, "ogg"},
    Signature{"MAC "sv, {}, "ape"},
    Signature{"wvpk"sv, {}, "wv"},
    Signature{"MP+"sv, {}, "mpc"},
    Signature{"MPCK"sv, {}, "mpc8"},
    Signature{"\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv, {}, "asf"},
    Signature{"TTA1"sv, {}, "tta"},
    Signature{"tBaK"sv, {}, "tak"},
    Signature{"ajkg"sv, {}, "shn"},
    Signature{"#!AMR"sv, {}, "amr"},
    Signature{"DSD "sv, {}, "dsf"},
    Signature{"\x1A\x45\xDF\xA3"sv, {}, "matroska"},
    Signature{"FLV\x01"sv, {}, "flv"},
    Signature{".RMF"sv, {}, "rm"},
    Signature{".ra\xFD"sv, {}, "rm"},
    Signature{"\x00\x00\x01\xBA"sv, {}, "mpeg"},
    Signature{"\x7F\xFE\x80\x01"sv, {}, "dts"},
    Signature{"\xFE\x7F\x01\x80"sv, {}, "dts"},
    Signature{"\x1F\xFF\xE8\x00"sv, {}, "dts"},
    Signature{"\xFF\x1F\x00\xE8"sv, {}, "dts"},
    Signature{"DTSHDHDR"sv, {}, "dtshd"},
};

bool HasText(Bytes bytes, size_t offset, std::string_view text) {
  const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return all.size() >= offset && all.substr(offset, text.size()) == text;
}

const char* BySignature(Bytes head) {
  for (const Signature& signature : kSignatures)
    if (HasText(head, 0, signature.start) && HasText(head, 8, signature.atEight))
      return signature.demuxer;
  return nullptr;
}

// MP4 and QuickTime begin with a box: its size, then a name. Several boxes may come first.
bool IsMovie(Bytes head, uint64_t remaining) {
  if (head.size() < 16) return false;
  const uint32_t size = BigEndian32(head.data());
  if (size > remaining || (size > 1 && size < 8)) return false;
  constexpr std::array kFirstBoxes{"ftyp"sv, "moov"sv, "mdat"sv, "wide"sv,
                                   "free"sv, "skip"sv, "pnot"sv, "udta"sv};
  return std::any_of(kFirstBoxes.begin(), kFirstBoxes.end(),
                     [&](std::string_view name) { return HasText(head, 4, name); });
}

// Packets of 188 bytes, of 192 with a time stamp in front, or of 204 with a checksum behind.
bool IsTransportStream(Bytes head) {
  const auto matches = [&](size_t offset, size_t stride) {
    constexpr size_t kPackets = 5;
    if (head.size() < offset + kPackets * stride) return false;
    for (size_t i = 0; i < kPackets; ++i) {
      const uint8_t* packet = head.data() + offset + i * stride;
      const bool hasContent = (packet[3] & 0x30) != 0;
      if (packet[0] != 0x47 || (packet[1] & 0x80) != 0 || !hasContent) return false;
    }
    return true;
  };
  return matches(0, 188) || matches(4, 192) || matches(0, 204);
}

// MLP and TrueHD: a sync word behind the first four bytes.
const char* ByMajorSync(Bytes head) {
  if (HasText(head, 4, "\xF8\x72\x6F\xBA"sv)) return "truehd";
  return HasText(head, 4, "\xF8\x72\x6F\xBB"sv) ? "mlp" : nullptr;
}

// Whether `wanted` frames follow one another from `position`. `fixedBits` of the third header byte
// are the same in all frames of one stream.
template <typename FrameSize>
bool HasFrames(Bytes bytes, size_t position, int wanted, uint8_t fixedBits, FrameSize frameSize) {
  const size_t start = position;
  for (int found = 0; found < wanted; ++found) {
    if (position + kFrameHeaderBytes > bytes.size()) return false;
    const size_t size = frameSize(bytes.data() + position);
    if (size == 0 || ((bytes[position + 2] ^ bytes[start + 2]) & fixedBits) != 0) return false;
    if ((bytes[position + 1] ^ bytes[start + 1]) & 0xFE) return false;
    position += size;
  }
  return true;
}

const char* FramesAt(Bytes bytes, size_t position, int wanted) {
  if (HasFrames(bytes, position, wanted, 0x0C, MpegAudioFrameSize)) return "mp3";
  if (HasFrames(bytes, position, wanted, 0xFC, AdtsFrameSize)) return "aac";
  return nullptr;
}

// Junk in front of the first frame is common (a tag with a wrong size), so frames are looked for;
// but away from the start more of them must agree.
const char* ByFrames(Bytes bytes) {
  constexpr int kAtStart = 2;
  constexpr int kElsewhere = 4;
  if (const char* demuxer = FramesAt(bytes, 0, kAtStart)) return demuxer;
  for (size_t position = 0; position < bytes.size(); ++position) {
    const void* sync = std::memchr(bytes.data() + position, 0xFF, bytes.size() - position);
    if (sync == nullptr) break;
    position = static_cast<size_t>(static_cast<const uint8_t*>(sync) - bytes.data());
    if (const char* demuxer = FramesAt(bytes, position, kElsewhere)) return demuxer;
  }
  return nullptr;
}

const char* ByAc3Frames(Bytes bytes) {
  size_t position = 0;
  for (int found = 0; found < 2; ++found) {
    if (position + kFrameHeaderBytes > bytes.size()) return nullptr;
    const size_t size = Ac3FrameSize(bytes.data() + position);
    if (size == 0) return nullptr;
    position += size;
  }
  return IsEnhancedAc3(bytes.data()) ? "eac3" : "ac3";
}

// Bytes of the ID3v2 tag that begins here, 0 when none does.
uint64_t LeadingTagSize(Bytes head) {
  constexpr size_t kTagHeader = 10;
  if (head.size() < kTagHeader || !HasText(head, 0, "ID3"sv)) return 0;
  const uint8_t* size = head.data() + 6;
  if (((size[0] | size[1] | size[2] | size[3]) & 0x80) != 0) return 0;
  const uint64_t content = uint64_t{size[0]} << 21 | size[1] << 14 | size[2] << 7 | size[3];
  const bool hasFooter = (head[5] & 0x10) != 0;
  return kTagHeader + content + (hasFooter ? kTagHeader : 0);
}

}  // namespace

ProbeResult ProbeSound(const CInputFile& file) {
  std::vector<uint8_t> buffer(kSearchBytes);
  uint64_t offset = 0;
  size_t length = file.ReadAt(offset, buffer.data(), kSignatureBytes);
  for (int i = 0; i < kMaxLeadingTags; ++i) {
    const uint64_t tagSize = LeadingTagSize({buffer.data(), length});
    if (tagSize == 0) break;
    offset += tagSize;
    if (offset >= file.Size()) return {};
    length = file.ReadAt(offset, buffer.data(), kSignatureBytes);
  }

  const Bytes head(buffer.data(), length);
  if (const char* demuxer = BySignature(head)) return {demuxer, offset};
  if (IsMovie(head, file.Size() - offset)) return {"mov", offset};
  if (IsTransportStream(head)) return {"mpegts", offset};
  if (const char* demuxer = ByMajorSync(head)) return {demuxer, offset};

  if (length == kSignatureBytes)
    length += file.ReadAt(offset + length, buffer.data() + length, kSearchBytes - length);
  const Bytes search(buffer.data(), length);
  if (const char* demuxer = ByAc3Frames(search)) return {demuxer, offset};
  return {ByFrames(search), offset};
}

}  // namespace quill::decoder
