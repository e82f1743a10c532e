// SPDX-License-Identifier: GPL-3.0-or-later
// The payload of a cache record of the image store: path, flags of the parts that follow, then each
// part's fields (docs/cache-format.md). Counts are taken as they stand in the file. Any thread.
#pragma once

#include <string>

#include "image/image_store.h"
#include "storage/cache_record.h"

namespace quill {

// False with no report when `parts` has nothing to store, false after a report when a field is too
// long for the format.
[[nodiscard]] bool WriteImageRecord(const std::string& path, const ImageEntry& parts,
                                    CCacheRecord* record);
// False after a report when the payload is short.
[[nodiscard]] bool ReadImageRecord(CCacheReader& reader, std::string* path, ImageEntry* parts);

}  // namespace quill
