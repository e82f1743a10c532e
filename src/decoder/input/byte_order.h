// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers in foreign files, which stand at any address and in either byte order.
#pragma once

#include <cstdint>

namespace quill::decoder {

[[nodiscard]] inline uint32_t LittleEndian16(const uint8_t* bytes) {
  return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8;
}

[[nodiscard]] inline uint32_t LittleEndian32(const uint8_t* bytes) {
  return LittleEndian16(bytes) | LittleEndian16(bytes + 2) << 16;
}

[[nodiscard]] inline uint32_t BigEndian32(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

}  // namespace quill::decoder
