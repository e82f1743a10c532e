// How much memory this process has come to hold.
#pragma once

#include <cstdint>

namespace quill::decoder {

// Resident bytes; 0 when the system does not tell.
[[nodiscard]] uint64_t OwnMemory();

}  // namespace quill::decoder
