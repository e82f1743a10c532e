// SPDX-License-Identifier: GPL-3.0-or-later
// Programs put the seven facts also where their standard does not look for them: the comment of an
// MP3 file in a text frame of that name, all of a WMA file's among its free attributes, the title
// of an AIFF file in a chunk beside its tag. Other readers prefer some of these doubles to the
// field itself, so a change that left them would be a change that nobody sees.
#pragma once

#include <tag.h>

#include <cstdint>
#include <functional>
#include <string>

namespace quill::decoder {

enum class TagFact { kTitle, kArtist, kAlbum, kGenre, kComment, kYear, kTrack };

// Whether a double that says this (in UTF-8) is to go.
using DoubleGoes = std::function<bool(const std::string& value)>;

// Shows all doubles of `fact` in one tag, and takes out those that are to go: in memory, until the
// file of the tag is saved. True when one went.
bool VisitDoubles(TagLib::Tag* tag, TagFact fact, const DoubleGoes& goes);

}  // namespace quill::decoder
