// SPDX-License-Identifier: GPL-3.0-or-later
// The description of one audio file, and the text keys made from it. Both are immutable once
// shared: a change of path or tags makes a new record and swaps the reference.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/reference.h"
#include "storage/file_facts.h"

namespace quill {

struct ItemBase : AudioFacts, CReferenced<ItemBase> {
  using Facts = AudioFacts;

  uint32_t modified = 0;  // modification time in seconds, low 32 bits; 0 when not from a scan
};

// The four texts that the tag comparison works on: lower-cased, without ASCII punctuation and
// blanks, one character a unit. Never stored: made again from the ItemBase.
struct TagKeys : CReferenced<TagKeys> {
  std::u32string filename, artist, album, title;
};

// Keeps letters, digits and all that is not ASCII, lower-cased by full Unicode rules whatever the
// locale. Empty for text that is not UTF-8.
[[nodiscard]] std::u32string NormaliseKey(std::string_view text);
// The file name without its folder and its extension; a point that is the name's first character
// cuts nothing.
[[nodiscard]] std::string_view FileStem(std::string_view path);
// Null when memory is short.
[[nodiscard]] CRef<const TagKeys> MakeTagKeys(const ItemBase& item);

}  // namespace quill
