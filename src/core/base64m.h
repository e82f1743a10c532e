// SPDX-License-Identifier: GPL-3.0-or-later
// The text form of byte blocks in the settings: Base64 with '*' for 62 and '-' for 63 and no fill
// characters, so that the last group of 2 or 3 characters stands for 1 or 2 bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quill {

// With a `lineLength` above 0, CR LF follows each group of that many characters or more, counted in
// steps of 4. Empty input: a report and false.
[[nodiscard]] bool EncodeBase64M(const std::vector<uint8_t>& bytes, uint32_t lineLength,
                                 std::string* text);
// Skips TAB, LF, CR and blank anywhere. A character outside the alphabet, a last group of one
// character or empty input: a report and false.
[[nodiscard]] bool DecodeBase64M(std::string_view text, std::vector<uint8_t>* bytes);

}  // namespace quill
