// SPDX-License-Identifier: GPL-3.0-or-later
// The texts of the decoder's information record, as items keep them. Any thread.
#pragma once

#include <cstring>
#include <string_view>

namespace quill {

// The text of a field up to its zero byte, if it has one, without white space at both ends; a view
// into the field.
template <size_t N>
[[nodiscard]] std::string_view TextField(const char (&field)[N]) {
  constexpr std::string_view kBlanks = " \t\n\r";
  const std::string_view text(field, strnlen(field, N));
  const size_t begin = text.find_first_not_of(kBlanks);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

}  // namespace quill
