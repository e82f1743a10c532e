// SPDX-License-Identifier: GPL-3.0-or-later
// A regular file open for reading. Everything that a codec sees of the user's files goes through
// one of these. Opening never blocks and never disturbs a named pipe or a device.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quill::decoder {

class CInputFile {
 public:
  CInputFile() = default;
  ~CInputFile() { Close(); }
  CInputFile(const CInputFile&) = delete;
  CInputFile& operator=(const CInputFile&) = delete;

  [[nodiscard]] bool Open(const std::string& path);
  void Close();

  // Bytes read: fewer than `length` at the end of the file or on an error.
  [[nodiscard]] size_t ReadAt(uint64_t offset, void* buffer, size_t length) const;
  // Still this object's. For a library that takes no other source; ReadAt does not depend on the
  // position that it leaves.
  [[nodiscard]] int Descriptor() const { return m_descriptor; }
  // As it was when the file was opened.
  [[nodiscard]] uint64_t Size() const { return m_size; }

 private:
  int m_descriptor = -1;
  uint64_t m_size = 0;
};

}  // namespace quill::decoder
