// SPDX-License-Identifier: GPL-3.0-or-later
// What a table shows as the type of a picture.
#pragma once

#include <cstdint>
#include <string>

namespace quill {

// "24bit JPEG": depth and name of the type, where a depth or a type without text is left out ("8bit
// " keeps its blank); "-" when both are.
[[nodiscard]] std::string ImageTypeText(uint8_t format, uint8_t bits);

}  // namespace quill
