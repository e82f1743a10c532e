// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/base64m.h"

#include <algorithm>

#include "core/system_error.h"

namespace quill {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789*-";
constexpr std::string_view kSkipped = "\t\n\r ";

}  // namespace

bool EncodeBase64M(const std::vector<uint8_t>& bytes, uint32_t lineLength, std::string* text) {
  if (bytes.empty() || text == nullptr) return CSystemError::Bool("EncodeBase64M", 104, false);
  text->clear();
  uint32_t lineCharacters = 0;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - i);
    uint32_t group = 0;
    for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? bytes[i + k] : 0u);
    for (size_t k = 0; k <= count; ++k) text->push_back(kAlphabet[group >> (18 - 6 * k) & 63]);
    if (count < 3 || lineLength == 0) continue;
    lineCharacters += 4;
    if (lineCharacters >= lineLength) {
      text->append("\r\n");
      lineCharacters = 0;
    }
  }
  return true;
}

bool DecodeBase64M(std::string_view text, std::vector<uint8_t>* bytes) {
  if (text.empty() || bytes == nullptr) return CSystemError::Bool("DecodeBase64M", 38, false);
  bytes->clear();
  uint32_t group = 0;
  uint32_t characters = 0;  // in the present group
  for (const char c : text) {
    if (kSkipped.find(c) != kSkipped.npos) continue;
    const size_t value = kAlphabet.find(c);
    if (value == kAlphabet.npos) return CSystemError::Bool("DecodeBase64M", 65, false);
    group = group << 6 | static_cast<uint32_t>(value);
    if (++characters < 4) continue;
    for (const int shift : {16, 8, 0}) bytes->push_back(static_cast<uint8_t>(group >> shift));
    group = characters = 0;
  }
  if (characters == 1) return CSystemError::Bool("DecodeBase64M", 94, false);
  if (characters >= 2) bytes->push_back(static_cast<uint8_t>(group >> (characters * 6 - 8)));
  if (characters == 3) bytes->push_back(static_cast<uint8_t>(group >> 2));
  return true;
}

}  // namespace quill
