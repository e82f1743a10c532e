// SPDX-License-Identifier: GPL-3.0-or-later
// What rules a pair out before any score: both walks, the processor's and the device's, pass the
// same gates. Pure functions of their arguments.
#pragma once

#include "audio/audio_settings.h"
#include "audio/audio_store.h"
#include "storage/ignore_list.h"

namespace quill {

// The gates that the store applies while it walks: folder group and duration.
[[nodiscard]] AudioGate StoreGate(const AudioSettings& settings, const AudioEntry& target);
// The others: ignored pairs, and fields of the tags that are present on both sides but unlike.
[[nodiscard]] bool IsPairCut(const AudioSettings& settings, const CIgnoreList& ignores,
                             const AudioEntry& target, const AudioEntry& candidate);

}  // namespace quill
