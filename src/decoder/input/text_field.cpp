// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/input/text_field.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace quill::decoder {

namespace {

bool IsContinuation(char byte) {
  return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

// Bytes of the character that begins here, 0 when it is not valid.
size_t CharacterLength(std::string_view text) {
  const auto lead = static_cast<uint8_t>(text[0]);
  if (lead < 0x80) return 1;
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  if (!std::all_of(text.begin() + 1, text.begin() + static_cast<ptrdiff_t>(length), IsContinuation))
    return 0;
  const auto second = static_cast<uint8_t>(text[1]);
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool surrogate = lead == 0xED && second >= 0xA0;
  const bool beyond = lead == 0xF4 && second >= 0x90;
  return overlong || surrogate || beyond ? 0 : length;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const size_t length = CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string FromLatin1(std::string_view text) {
  std::string result;
  for (char c : text) {
    const auto byte = static_cast<uint8_t>(c);
    if (byte >= 0x80) result.push_back(static_cast<char>(0xC0 | byte >> 6));
    result.push_back(static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F)));
  }
  return result;
}

}  // namespace

std::string FittingText(std::string_view text, size_t limit) {
  std::string fitting = IsUtf8(text) ? std::string(text) : FromLatin1(text);
  size_t length = std::min(fitting.size(), limit - 1);
  if (length < fitting.size())
    while (length > 0 && IsContinuation(fitting[length])) --length;
  fitting.resize(length);
  return fitting;
}

void CopyText(std::string_view text, std::span<char> field) {
  const std::string fitting = FittingText(text, field.size());
  std::copy(fitting.begin(), fitting.end(), field.begin());
  field[fitting.size()] = '\0';
}

}  // namespace quill::decoder
