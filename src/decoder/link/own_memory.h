// SPDX-License-Identifier: GPL-3.0-or-later
// How much memory this process holds, and how much it may.
#pragma once

#include <cstdint>

namespace quill::decoder {

// Resident bytes that are neither a file's nor shared; 0 when the system does not tell.
[[nodiscard]] uint64_t OwnMemory();

// From here on, allocations that would take the process this many bytes beyond what it has now
// fail. Shared mappings do not count.
void LimitOwnMemory(uint64_t bytes);

}  // namespace quill::decoder
