// SPDX-License-Identifier: GPL-3.0-or-later
// An AIFF file with its text chunks, which the tag library leaves alone.
#pragma once

#include <aifffile.h>

#include "decoder/tags/tag_doubles.h"

namespace quill::decoder {

class CAiffFile : public TagLib::RIFF::AIFF::File {
 public:
  using TagLib::RIFF::AIFF::File::File;

  // As the function for tags, but a chunk goes from the stream at once.
  bool VisitChunks(TagFact fact, const DoubleGoes& goes);
};

}  // namespace quill::decoder
