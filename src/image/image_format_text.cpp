// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_format_text.h"

#include <array>

namespace quill {
namespace {

constexpr std::array<const char*, 10> kTypes = {"",    "BMP", "EMF",  "WMF",  "JPEG",
                                                "PNG", "GIF", "TIFF", "EXIF", "ICO"};

bool HasText(uint8_t bits) {
  switch (bits) {
    case 1:
    case 4:
    case 8:
    case 16:
    case 24:
    case 32:
    case 48:
    case 64:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::string ImageTypeText(uint8_t format, uint8_t bits) {
  std::string text = HasText(bits) ? std::to_string(bits) + "bit " : std::string();
  if (format < kTypes.size()) text += kTypes[format];
  return text.empty() ? "-" : text;
}

}  // namespace quill
