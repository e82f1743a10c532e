// SPDX-License-Identifier: GPL-3.0-or-later
// Text of foreign files, for the fixed fields of a record. What comes out is always valid UTF-8.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace quill::decoder {

// `text` cut at a character's border to less than `limit` bytes. Bytes that are not valid UTF-8 are
// taken as Latin-1.
[[nodiscard]] std::string FittingText(std::string_view text, size_t limit);
// Fills the field, zero-terminated, cut by FittingText.
void CopyText(std::string_view text, std::span<char> field);

}  // namespace quill::decoder
