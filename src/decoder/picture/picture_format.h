// SPDX-License-Identifier: GPL-3.0-or-later
// The picture formats that the program reads.
#pragma once

#include <cstdint>

namespace quill::decoder {

enum class PictureFormat { kNone, kBmp, kIcon, kJpeg, kPng, kGif, kTiff, kWebp, kHeif, kJpegXl };

// The word of the information record; 0 for a format that has none.
[[nodiscard]] constexpr uint32_t PictureCode(PictureFormat format) {
  switch (format) {
    case PictureFormat::kBmp:
      return 1;
    case PictureFormat::kJpeg:
      return 4;
    case PictureFormat::kPng:
      return 5;
    case PictureFormat::kGif:
      return 6;
    case PictureFormat::kTiff:
      return 7;
    case PictureFormat::kIcon:
      return 9;
    default:
      return 0;
  }
}

}  // namespace quill::decoder
