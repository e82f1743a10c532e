// SPDX-License-Identifier: GPL-3.0-or-later
// The pairs of the image engine.
#pragma once

#include "image/image_info.h"
#include "storage/pair_sink.h"

namespace quill {

// Places in the scores of a pair.
struct ImageScores {
  enum Score : size_t { kContent, kExperimental, kScores };
};

using CImagePairSink = CPairSink<ImageInfo, ImageScores::kScores>;

}  // namespace quill
