// SPDX-License-Identifier: GPL-3.0-or-later
// An APE tag at the end of a file for which the tag library does not look for one, in front of the
// short tag if that is there.
#pragma once

#include <apetag.h>
#include <tfile.h>

#include <memory>

#include "decoder/tags/tag_stream.h"

namespace quill::decoder {

// Null when there is none.
[[nodiscard]] std::unique_ptr<TagLib::APE::Tag> ReadTrailingApeTag(TagLib::File* file);
// Puts `tag` in the place of the one that the stream holds; an empty one just goes.
void WriteTrailingApeTag(const TagLib::APE::Tag& tag, CTagStream& stream);

}  // namespace quill::decoder
