// SPDX-License-Identifier: GPL-3.0-or-later
// The pairs of the audio engine.
#pragma once

#include "audio/item_base.h"
#include "storage/pair_sink.h"

namespace quill {

// Places in the scores of a pair.
struct AudioScores {
  enum Score : size_t { kTags, kContent, kPrecise, kScores };
};

using CAudioPairSink = CPairSink<ItemBase, AudioScores::kScores>;

}  // namespace quill
