// SPDX-License-Identifier: GPL-3.0-or-later
// What is told of a file in the stores and in the results, beside its prints: the path is its key,
// as bytes of the file system, UTF-8 as far as that has it.
#pragma once

#include <cstdint>
#include <string>

namespace quill {

struct AudioFacts {
  std::string path, artist, album, title;
  uint32_t durationMs = 0;
  uint32_t bitrate = 0;  // bits per second
  uint16_t format = 0;   // wire::FormatId
  uint64_t size = 0;     // bytes

  friend bool operator==(const AudioFacts&, const AudioFacts&) = default;
};

struct ImageFacts {
  std::string path;
  uint32_t width = 0;   // pixels, as stored; 0 when unknown
  uint32_t height = 0;  // pixels
  uint8_t format = 0;   // code of the image type, 0 when unknown: image_format_text.h
  uint8_t bits = 0;     // of a pixel as stored
  uint64_t size = 0;    // bytes

  friend bool operator==(const ImageFacts&, const ImageFacts&) = default;
};

}  // namespace quill
