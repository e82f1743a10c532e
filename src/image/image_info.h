// The description of one picture file. Immutable once shared: a change of path makes a new record
// and swaps the reference.
#pragma once

#include <cstdint>
#include <string>

#include "core/reference.h"

namespace quill {

struct ImageInfo : CReferenced<ImageInfo> {
  std::string path;       // full path, the key of the item; UTF-8 as far as the file system has it
  uint32_t width = 0;     // pixels, as stored; 0 when unknown
  uint32_t height = 0;    // pixels
  uint8_t format = 0;     // code of the image type, 0 when unknown: image_format_text.h
  uint8_t bits = 0;       // of a pixel as stored
  uint32_t modified = 0;  // modification time in seconds, low 32 bits; 0 when not from a scan
  uint64_t size = 0;      // bytes
};

}  // namespace quill
