// SPDX-License-Identifier: GPL-3.0-or-later
// The payload of a cache record of the duplicates store: path, flags of the parts that follow, then
// each part's fields (docs/cache-format.md). TagKeys are not stored, they follow from the ItemBase.
// What is read back has been checked so far that no later use can leave its bounds, whatever the
// file held. Any thread.
#pragma once

#include <string>

#include "audio/audio_store.h"
#include "storage/cache_record.h"

namespace quill {

// False with no report when `parts` has nothing to store, false after a report when a field is too
// long for the format.
[[nodiscard]] bool WriteAudioRecord(const std::string& path, const AudioEntry& parts,
                                    CCacheRecord* record);
// False after a report when the payload is short or impossible.
[[nodiscard]] bool ReadAudioRecord(CCacheReader& reader, std::string* path, AudioEntry* parts);

}  // namespace quill
