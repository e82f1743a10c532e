// SPDX-License-Identifier: GPL-3.0-or-later
// Tells by a file's first bytes which picture format, if any, it is in. Content decides, never the
// name. Every file of a scan, sound or not, comes here first, so a refusal is one small read.
#pragma once

#include <cstdint>
#include <span>

#include "decoder/input/input_file.h"
#include "decoder/picture/picture_format.h"

namespace quill::decoder {

[[nodiscard]] PictureFormat ProbePicture(const CInputFile& file);
[[nodiscard]] bool IsPng(std::span<const uint8_t> head);

}  // namespace quill::decoder
