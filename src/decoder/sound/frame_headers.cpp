// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/frame_headers.h"

#include <array>

namespace quill::decoder {

size_t MpegAudioFrameSize(const uint8_t* header) {
  if (header[0] != 0xFF || (header[1] & 0xE0) != 0xE0) return 0;
  const uint32_t version = header[1] >> 3 & 3;  // 0: 2.5, 2: 2, 3: 1
  const uint32_t layer = 4 - (header[1] >> 1 & 3);
  const uint32_t bitrateIndex = header[2] >> 4;
  const uint32_t rateIndex = header[2] >> 2 & 3;
  const uint32_t padding = header[2] >> 1 & 1;
  if (version == 1 || layer == 4 || bitrateIndex == 0 || bitrateIndex == 15 || rateIndex == 3)
    return 0;

  // kbit/s by row and index: version 1 layers 1 to 3, then version 2 layer 1, layers 2 and 3.
  static constexpr std::array<std::array<uint16_t, 15>, 5> kBitrates{{
      {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
      {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
      {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
      {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
      {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
  }};
  static constexpr std::array<uint32_t, 3> kRates{44100, 48000, 32000};
  const bool first = version == 3;
  const size_t row = first ? layer - 1 : layer == 1 ? 3 : 4;
  const uint32_t bitsPerSecond = kBitrates[row][bitrateIndex] * 1000u;
  const uint32_t rate = kRates[rateIndex] >> (first ? 0 : version == 2 ? 1 : 2);
  if (layer == 1) return (12 * bitsPerSecond / rate + padding) * 4;
  return (layer == 3 && !first ? 72 : 144) * bitsPerSecond / rate + padding;
}

size_t AdtsFrameSize(const uint8_t* header) {
  if (header[0] != 0xFF || (header[1] & 0xF6) != 0xF0) return 0;
  const uint32_t rateIndex = header[2] >> 2 & 15;
  const size_t size = (header[3] & 3u) << 11 | header[4] << 3 | header[5] >> 5;
  return rateIndex < 13 && size > 7 ? size : 0;
}

bool IsEnhancedAc3(const uint8_t* header) {
  return header[5] >> 3 > 10;
}

size_t Ac3FrameSize(const uint8_t* header) {
  if (header[0] != 0x0B || header[1] != 0x77) return 0;
  if (header[5] >> 3 > 16) return 0;
  if (IsEnhancedAc3(header)) return (((header[2] & 7u) << 8 | header[3]) + 1) * 2;

  static constexpr std::array<uint16_t, 19> kBitrates{32,  40,  48,  56,  64,  80,  96,
                                                      112, 128, 160, 192, 224, 256, 320,
                                                      384, 448, 512, 576, 640};  // kbit/s
  const uint32_t rateIndex = header[4] >> 6;
  const uint32_t sizeIndex = header[4] & 63;
  if (rateIndex == 3 || sizeIndex / 2 >= kBitrates.size()) return 0;
  const uint32_t bitrate = kBitrates[sizeIndex / 2];
  if (rateIndex == 0) return bitrate * 4;                    // 48000 Hz
  if (rateIndex == 2) return bitrate * 6;                    // 32000 Hz
  return (bitrate * 1000 * 96 / 44100 + sizeIndex % 2) * 2;  // 44100 Hz
}

}  // namespace quill::decoder
