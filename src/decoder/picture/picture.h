// SPDX-License-Identifier: GPL-3.0-or-later
// An open picture, whatever its format: what is stored, and its pixels as they go to the
// application: 8-bit samples of red, green, blue and, if the picture has any, alpha; rows without
// gaps, from the top. No metadata turns or mirrors them. For one thread.
#pragma once

#include <cstdint>
#include <span>

#include "decoder/link/status.h"
#include "decoding/wire.h"

namespace quill::decoder {

struct PixelForm {
  uint32_t width;
  uint32_t height;
  uint32_t channels;  // 3, or 4 with alpha
};

class CPicture {
 public:
  virtual ~CPicture() = default;

  [[nodiscard]] const wire::ImageInfo& Info() const { return m_info; }
  // Gets ready for Write and tells how much that will write. The two may be repeated.
  [[nodiscard]] virtual Status Prepare(PixelForm& form) = 0;
  // Once after each Prepare, with room for all the pixels, which it decodes straight into `target`
  // if the format allows. Lets go of what Prepare made.
  [[nodiscard]] virtual Status Write(std::span<uint8_t> target) = 0;

 protected:
  CPicture() = default;
  CPicture(const CPicture&) = delete;
  CPicture& operator=(const CPicture&) = delete;

  wire::ImageInfo m_info{};
};

}  // namespace quill::decoder
