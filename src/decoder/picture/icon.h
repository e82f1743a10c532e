// SPDX-License-Identifier: GPL-3.0-or-later
// Icon files: a directory of the same picture in several sizes, each a PNG file or a bitmap. The
// best one stands for the file: the largest, and among those the one of the most colours.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "decoder/input/input_file.h"
#include "decoder/picture/picture.h"

namespace quill::decoder {

// `head` has the first 64 bytes, or all of a shorter file.
[[nodiscard]] bool IsIconFile(std::span<const uint8_t> head, uint64_t fileSize);
// Null when no entry of the directory can be read. `file` must outlive the picture.
[[nodiscard]] std::unique_ptr<CPicture> OpenIcon(const CInputFile& file);

}  // namespace quill::decoder
