// SPDX-License-Identifier: GPL-3.0-or-later
// BMP pictures, and the bitmaps inside icons, which are the same without the first 14 bytes but
// with a mask of transparent pixels behind. FFmpeg decodes the pixels. Files of up to 2 GiB.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "decoder/input/input_file.h"
#include "decoder/picture/picture.h"

namespace quill::decoder {

// Where a bitmap lies in its file.
struct BitmapPlace {
  uint64_t offset = 0;
  uint64_t size = 0;
  bool inIcon = false;
};

// What the header at the start of a bitmap tells.
struct BitmapHeader {
  uint32_t width = 0;  // pixels
  uint32_t height = 0;
  uint32_t bits = 0;          // of a stored pixel
  uint32_t headerBytes = 0;   // up to the palette
  uint32_t paletteBytes = 0;  // or the colour masks; up to the pixels, of an icon's bitmap
  bool fromBottom = true;
};

inline constexpr size_t kBitmapFileHeader = 14;
inline constexpr size_t kBitmapHeadBytes = 40;

// `head` has the first 64 bytes, or all of a shorter file.
[[nodiscard]] bool IsBitmapFile(std::span<const uint8_t> head, uint64_t fileSize);
// `head` begins behind the file header and has at least kBitmapHeadBytes, unless the bitmap is
// shorter. False when it makes no sense.
[[nodiscard]] bool ReadBitmapHeader(std::span<const uint8_t> head, bool inIcon,
                                    BitmapHeader& header);
// Null when the header makes no sense. `file` must outlive the picture.
[[nodiscard]] std::unique_ptr<CPicture> OpenBitmap(const CInputFile& file);
[[nodiscard]] std::unique_ptr<CPicture> OpenBitmap(const CInputFile& file,
                                                   const BitmapPlace& place);

}  // namespace quill::decoder
