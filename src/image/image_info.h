// SPDX-License-Identifier: GPL-3.0-or-later
// The description of one picture file. Immutable once shared: a change of path makes a new record
// and swaps the reference.
#pragma once

#include <cstdint>

#include "core/reference.h"
#include "storage/file_facts.h"

namespace quill {

struct ImageInfo : ImageFacts, CReferenced<ImageInfo> {
  using Facts = ImageFacts;

  uint32_t modified = 0;  // modification time in seconds, low 32 bits; 0 when not from a scan
};

}  // namespace quill
