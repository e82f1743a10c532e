// SPDX-License-Identifier: GPL-3.0-or-later
// What the tables sort by, drawn out of the records once for each sort, so that a comparison need
// not follow pointers. Keys point into the records' texts and are gone with them.
#pragma once

#include <cstdint>
#include <string_view>

namespace quill {

template <class T>
[[nodiscard]] int CompareValues(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

// Of a file in one column: a number or a text (bytes, the shorter first); the other stays empty.
struct FileKey {
  FileKey() = default;
  explicit FileKey(uint64_t value) : number(value) {}
  explicit FileKey(std::string_view value) : text(value) {}

  uint64_t number = 0;
  std::string_view text;

  [[nodiscard]] int Compare(const FileKey& other) const {
    const int order = CompareValues(number, other.number);
    return order ? order : text.compare(other.text);
  }
};

}  // namespace quill
