// SPDX-License-Identifier: GPL-3.0-or-later
// How many bits the file itself spends on a pixel where the decoded form does not tell: palettes
// are expanded and single bits become bytes on the way.
#pragma once

#include <cstdint>
#include <span>

#include "decoder/input/input_file.h"

namespace quill::decoder {

// Each gives 0 when the header does not tell. `head` has the start of a PNG file.
[[nodiscard]] uint32_t PngDepth(std::span<const uint8_t> head);
[[nodiscard]] uint32_t TiffDepth(const CInputFile& file);

}  // namespace quill::decoder
