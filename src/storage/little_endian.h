// SPDX-License-Identifier: GPL-3.0-or-later
// Fields of the file formats. All numbers are little-endian with no alignment, and so are copied as
// they lie in memory; a machine of the other byte order does not build.
#pragma once

#include <bit>
#include <cstring>
#include <type_traits>

namespace quill {

static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(float) == 4);

template <class Number>
  requires std::is_arithmetic_v<Number>
void StoreNumber(void* target, Number number) {
  std::memcpy(target, &number, sizeof(Number));
}

template <class Number>
  requires std::is_arithmetic_v<Number>
[[nodiscard]] Number LoadNumber(const void* source) {
  Number number;
  std::memcpy(&number, source, sizeof(Number));
  return number;
}

}  // namespace quill
