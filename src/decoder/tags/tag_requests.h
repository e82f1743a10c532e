// SPDX-License-Identifier: GPL-3.0-or-later
// Reading and writing the tags of a file by its path.
#pragma once

#include <string>

#include "decoder/link/status.h"
#include "decoder/tags/tag_fields.h"

namespace quill::decoder {

[[nodiscard]] Status ReadTags(const std::string& path, TagFields* fields);
// Changes the given fields only. The file is the old one or the new one, whole, at every moment.
[[nodiscard]] Status WriteTags(const std::string& path, const TagFields& fields);

}  // namespace quill::decoder
