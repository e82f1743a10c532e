// SPDX-License-Identifier: GPL-3.0-or-later
// A plain file handle with exact-length reads and writes. It belongs to one thread at a time and
// closes itself on destruction. Failures are reported where told and given back as false.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quill {

class CFile {
 public:
  enum Mode : int32_t {
    kRead = 1,       // read only, the file must exist
    kWrite = 2,      // write only, created if missing
    kReadWrite = 3,  // read and write, created if missing
    kTruncate = 4,   // write only, created if missing, emptied
    kNew = 5,        // write only, the file must not exist
  };

  CFile() = default;
  ~CFile() { Close(); }
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;

  // Closes an open file first. Created files get permission octal 644. An unknown mode fails. No
  // report: a missing file is often the ordinary case, and the caller knows.
  [[nodiscard]] bool Open(const std::string& path, int32_t mode);
  void Close();
  [[nodiscard]] bool IsOpen() const { return m_file != -1; }
  // With `got`, any number of bytes is a success and `got` tells it. Without, all must come; the
  // end of the file is then a failure with no report.
  [[nodiscard]] bool Read(void* buffer, size_t length, size_t* got = nullptr);
  [[nodiscard]] bool Seek(uint64_t offset);
  [[nodiscard]] bool Write(const void* buffer, size_t length);
  // Cuts or extends the file, then seeks to that length.
  [[nodiscard]] bool Truncate(uint64_t length);
  // Bytes; 0 on failure.
  [[nodiscard]] uint64_t Size();
  // Present offset in bytes; 0 on failure.
  [[nodiscard]] uint64_t Position();

 private:
  int32_t m_file = -1;
};

}  // namespace quill
