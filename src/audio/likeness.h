// SPDX-License-Identifier: GPL-3.0-or-later
// The tag score: how far two files agree in title, artist, album and file name, whatever the order
// and punctuation of the words. Pure functions of text, any thread.
#pragma once

#include <string_view>

#include "audio/item_base.h"

namespace quill {

// Substring overlap, 0 to 1. Of all substrings (by position) of both strings, the share that occurs
// in the other one too. By definition a cubic count; computed from the longest match at each
// position of either string, whose sum is the number of hits.
[[nodiscard]] float Likeness(std::u32string_view a, std::u32string_view b);

// 0 to 1, of the file in hand and an earlier one. Sees through swapped artist and title, and takes
// a missing title or artist from the other file's name.
[[nodiscard]] float TagScore(const TagKeys& target, const TagKeys& candidate);

}  // namespace quill
