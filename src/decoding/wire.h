// SPDX-License-Identifier: GPL-3.0-or-later
// What passes between the application and the decoder program: command ids, exit statuses and
// record layouts. The one header that both programs include; it includes nothing of either. All
// numbers are in the machine's (little-endian) order with no fill bytes; docs/wire-format.md tells
// each message.
#pragma once

#include <cstdint>

namespace quill::wire {

enum Command : uint32_t {
  kHandshake = 1,
  kAudioOpen = 2,
  kAudioClose = 3,
  kAudioInfo = 4,
  kAudioData = 5,
  kImageOpen = 6,
  kImageClose = 7,
  kImageInfo = 8,
  kImageData = 9,
  kPurge = 10,
  kTagsRead = 11,
  kTagsWrite = 12,
  kLogText = 13,    // decoder to application, unsolicited
  kResizeMap = 14,  // decoder to application, unsolicited
};

// The two constant words of the handshake.
inline constexpr uint32_t kHandshakeFirst = 3;
inline constexpr uint32_t kHandshakeSecond = 30000;

// Exit statuses of the decoder.
inline constexpr int kExitOrderly = 10;  // the command under way is sent again to its successor
inline constexpr int kExitCrashed = 11;  // a fatal fault in a codec was caught

// A sender refuses strings of this many bytes or more.
inline constexpr uint32_t kStringLimit = 65366;
// A mapping of at most this many bytes stays in place after a file is closed.
inline constexpr uint64_t kSmallMapping = 0x100000;

// Flags of kAudioOpen.
inline constexpr uint32_t kRefuseVideo = 1;

// One row of the decoder table: a back-end, and the file name extensions it may open.
struct DecoderRow {
  uint32_t id;
  uint32_t enabled;      // 1 or 0
  char extensions[200];  // separated by single blanks, terminated by a zero byte; "*" is any
};
static_assert(sizeof(DecoderRow) == 208);

// Tag fields of kTagsRead and kTagsWrite as bits of the mask, in the order in which they stand on
// the wire: title, artist, album, genre, comment as strings, then year and track as words.
inline constexpr uint32_t kTagTexts[] = {1, 2, 4, 64, 32};
inline constexpr uint32_t kTagNumbers[] = {8, 16};

struct AudioFormat {
  uint32_t dataFormat;      // DataFormat
  uint32_t channelsFormat;  // ChannelsFormat
  uint32_t sampleRate;      // frames per second; 0 when unknown
};
static_assert(sizeof(AudioFormat) == 12);

enum DataFormat : uint32_t { kSigned8 = 1, kSigned16 = 2, kFloat32 = 3 };
enum ChannelsFormat : uint32_t { kMono = 1, kStereo = 2, kSixChannels = 3, kEightChannels = 4 };

struct AudioInfo {
  uint32_t format;  // FormatId
  uint32_t durationMs;
  uint32_t bitrate;  // bits per second
  char title[512];   // UTF-8, zero-terminated, cut at a character's border
  char artist[512];
  char album[512];
};
static_assert(sizeof(AudioInfo) == 1548);

enum FormatId : uint32_t {
  kPcm = 1,
  kAc3 = 2,
  kAac = 3,
  kMp1 = 4,
  kMp2 = 5,
  kMp3 = 6,
  kMusepack = 7,
  kMonkeyAudio = 8,
  kOgg = 9,
  kWavPack = 10,
  kFlac = 11,
  kAppleLossless = 12,
  kWma = 13,
};

// Ids of the decoder table that are in use; further ids exist as names only.
enum DecoderId : uint32_t {
  kDecoderFlac = 5,
  kDecoderMonkeyAudio = 6,
  kDecoderMusepack = 7,
  kDecoderOggVorbis = 8,
  kDecoderWavPack = 9,
  kDecoderGeneral = 11,
};

struct ImageInfo {
  uint32_t format, bits, width, height;
};
static_assert(sizeof(ImageInfo) == 16);

struct ImageData {
  uint32_t width, height, rowStep, flags;  // rowStep in bytes; flags kImageAlpha or 0
};
static_assert(sizeof(ImageData) == 16);
inline constexpr uint32_t kImageAlpha = 2;  // four channels in a pixel instead of three

}  // namespace quill::wire
