// Text of foreign files, for the fixed fields of a record. What comes out is always valid UTF-8.
#pragma once

#include <span>
#include <string_view>

namespace quill::decoder {

// Fills the field, zero-terminated, cut at a character's border where the text is too long. Bytes
// that are not valid UTF-8 are taken as Latin-1.
void CopyText(std::string_view text, std::span<char> field);

}  // namespace quill::decoder
