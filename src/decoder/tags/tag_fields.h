// SPDX-License-Identifier: GPL-3.0-or-later
// The seven tag fields of a sound file, and which of them a request speaks of.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace quill::decoder {

struct TagFields {
  std::array<std::string, 5> texts;      // title, artist, album, genre, comment; UTF-8
  std::array<uint32_t, 2> numbers = {};  // year, track; 0 for none
  uint32_t mask = 0;                     // the fields given, by wire::TagField
};

}  // namespace quill::decoder
