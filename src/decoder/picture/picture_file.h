// SPDX-License-Identifier: GPL-3.0-or-later
// A picture file from its opening to its pixels. Content decides what it is, never the name. A file
// that is no picture is refused on its first bytes, before any codec has been touched.
//
// Pictures are delivered whole or not at all: a picture that was shrunk on the way would pass for
// a smaller one. The limits are 900 million pixels (30000 by 30000) and 4 GiB of them; what a codec
// needs beside the shared mapping is bounded by the limit on the process's own memory.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "decoder/input/input_file.h"
#include "decoder/link/status.h"
#include "decoder/picture/picture.h"
#include "decoding/wire.h"

namespace quill::decoder {

class CPictureFile {
 public:
  CPictureFile() = default;
  CPictureFile(const CPictureFile&) = delete;
  CPictureFile& operator=(const CPictureFile&) = delete;

  // Once per object. Reads the header only.
  [[nodiscard]] Status Open(const std::string& path);
  // As stored. True also of a picture that is too large to be delivered.
  [[nodiscard]] const wire::ImageInfo& Info() const { return m_picture->Info(); }
  // Fills the record; its height times its row step is the room that WritePixels needs, and fits in
  // 32 bits.
  [[nodiscard]] Status PreparePixels(wire::ImageData& data);
  [[nodiscard]] Status WritePixels(std::span<uint8_t> target) { return m_picture->Write(target); }

 private:
  CInputFile m_file;
  std::unique_ptr<CPicture> m_picture;  // reads m_file, so it must go before it
};

}  // namespace quill::decoder
