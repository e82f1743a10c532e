// SPDX-License-Identifier: GPL-3.0-or-later
// A file seen through one movable mapped window of 64 KiB multiples. Appending a field costs a
// bounds test and a store; everything appended is in the page cache at once, so it survives the
// death of the process. While open for writing, the file on disk is grown in whole windows, with
// its blocks reserved so that a full disk is a failed Map and not a fault; it is cut back to the
// logical size at the end. A writer that crashed leaves a tail of zero bytes: the formats on top
// carry an end marker. Offsets are 32 bits wide. One thread at a time.
#pragma once

#include <cstdint>
#include <string>

namespace quill {

class CFileMap {
 public:
  static constexpr uint32_t kWindow = 65536;

  CFileMap() = default;
  ~CFileMap() { Close(); }
  CFileMap(const CFileMap&) = delete;
  CFileMap& operator=(const CFileMap&) = delete;

  // Closes whatever is open. Without `readOnly` a missing file is created with octal 644. Fails
  // after a report, also on a file of 4 GiB or more.
  [[nodiscard]] bool Open(const std::string& path, bool readOnly);
  [[nodiscard]] bool IsOpen() const { return m_file != -1; }
  // A pointer to `length` bytes at `offset`, valid until the next Map, SetEnd or Close, or null
  // after a report. In a writable file any mapped range counts as written and raises Size().
  [[nodiscard]] uint8_t* Map(uint32_t offset, uint32_t length) {
    const uint64_t end = uint64_t{offset} + length;
    if (m_data == nullptr || offset < m_windowOffset ||
        end > uint64_t{m_windowOffset} + m_windowLength)
      return MapWindow(offset, end);
    // A window ends below 4 GiB, and a read-only one at m_size.
    if (end > m_size) m_size = static_cast<uint32_t>(end);
    return m_data + (offset - m_windowOffset);
  }
  // Cuts or extends the content to `length`. Fails with a report on a read-only or closed file.
  [[nodiscard]] bool SetEnd(uint32_t length);
  // The logical size of the content: the high-water mark of all Map calls.
  [[nodiscard]] uint32_t Size() const { return m_size; }
  void Close();

 private:
  // Moves the window so that it holds the range, growing a writable file first.
  [[nodiscard]] uint8_t* MapWindow(uint32_t offset, uint64_t end);
  // Makes sure that each byte of the range has a block on the disk; else cuts the file back.
  [[nodiscard]] bool Reserve(uint32_t offset, uint32_t end);
  void Unmap();

  int32_t m_file = -1;
  uint8_t* m_data = nullptr;    // start of the window, null when none
  uint32_t m_windowOffset = 0;  // file offset of m_data, a multiple of kWindow
  uint32_t m_windowLength = 0;  // bytes mapped
  uint32_t m_size = 0;          // logical size of the content
  bool m_readOnly = false;
};

}  // namespace quill
