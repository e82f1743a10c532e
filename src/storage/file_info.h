// SPDX-License-Identifier: GPL-3.0-or-later
// What tells that a file has not changed since its description was made: its size and the second of
// its last modification, no more. Any thread.
#pragma once

#include <cstdint>
#include <string>

namespace quill {

struct FileInfo {
  uint64_t size = 0;      // bytes
  uint32_t modified = 0;  // seconds, low 32 bits

  friend bool operator==(const FileInfo&, const FileInfo&) = default;
};

// Of the file itself or of the one that a link leads to. False after a report.
[[nodiscard]] bool GetFileInfo(const std::string& path, FileInfo* info);

// What a description tells of its file.
template <class Description>
[[nodiscard]] FileInfo FileInfoOf(const Description& description) {
  return {description.size, description.modified};
}

}  // namespace quill
