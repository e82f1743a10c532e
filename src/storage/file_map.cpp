// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/file_map.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "core/system_error.h"

namespace quill {

bool CFileMap::Open(const std::string& path, bool readOnly) {
  Close();
  m_readOnly = readOnly;
  m_file = open(path.c_str(), (readOnly ? O_RDONLY : O_RDWR | O_CREAT) | O_CLOEXEC, 0644);
  if (m_file == -1) return CSystemError::Bool("Open", 102, false);
  struct stat info;
  if (fstat(m_file, &info) != 0) return true;
  if (info.st_size > off_t{UINT32_MAX}) {
    // Close would cut a file whose size does not fit.
    close(m_file);
    m_file = -1;
    errno = EFBIG;
    return CSystemError::Bool("Open", 102, false);
  }
  m_size = static_cast<uint32_t>(info.st_size);
  return true;
}

uint8_t* CFileMap::MapWindow(uint32_t offset, uint64_t end) {
  if (m_file == -1) {
    CSystemError::Plain("Map", 149);
    return nullptr;
  }
  if (m_readOnly && end > m_size) {
    CSystemError::Plain("Map", 150);
    return nullptr;
  }
  if (end > UINT32_MAX) {
    CSystemError::Plain("Map", 164);
    return nullptr;
  }
  Unmap();
  const uint32_t windowOffset = offset / kWindow * kWindow;
  uint32_t windowEnd = static_cast<uint32_t>(
      std::min<uint64_t>((end + kWindow - 1) / kWindow * kWindow, UINT32_MAX));
  if (m_readOnly) windowEnd = std::min(windowEnd, m_size);
  const uint32_t windowLength = windowEnd - windowOffset;
  if (!m_readOnly && !Reserve(windowOffset, windowEnd)) {
    CSystemError::Plain("Map", 164);
    return nullptr;
  }
  if (windowLength == 0) {
    // Nothing at a window's border: there is no page to map.
    static uint8_t s_nothing;
    m_size = std::max(m_size, static_cast<uint32_t>(end));
    return &s_nothing;
  }
  void* window = mmap(nullptr, windowLength, m_readOnly ? PROT_READ : PROT_READ | PROT_WRITE,
                      MAP_SHARED, m_file, windowOffset);
  if (window == MAP_FAILED) {
    CSystemError::Plain("Map", 164);
    return nullptr;
  }
  m_data = static_cast<uint8_t*>(window);
  m_windowOffset = windowOffset;
  m_windowLength = windowLength;
  m_size = std::max(m_size, static_cast<uint32_t>(end));
  return m_data + (offset - m_windowOffset);
}

bool CFileMap::Reserve(uint32_t offset, uint32_t end) {
  int error = 0;
  if (end > m_size && ftruncate(m_file, end) != 0) error = errno;
  if (error == 0 && end > offset) {
    // The whole window and not only its new part: a store into a hole of an old file would fault
    // on a full disk just the same.
    do {
      error = posix_fallocate(m_file, offset, end - offset);
    } while (error == EINTR);
  }
  if (error == 0) return true;
  // Should this fail too, Close cuts the file once more.
  [[maybe_unused]] const int cut = ftruncate(m_file, m_size);
  errno = error;
  return false;
}

bool CFileMap::SetEnd(uint32_t length) {
  if (m_readOnly) return CSystemError::Bool("SetEnd", 124, false);
  if (m_file == -1) return CSystemError::Bool("SetEnd", 125, false);
  Unmap();
  m_size = length;
  if (ftruncate(m_file, length) != 0) return CSystemError::Bool("SetEnd", 131, false);
  return true;
}

void CFileMap::Close() {
  Unmap();
  if (m_file != -1) {
    if (!m_readOnly) [[maybe_unused]]
      const int cut = ftruncate(m_file, m_size);
    close(m_file);
  }
  m_file = -1;
  m_size = 0;
}

void CFileMap::Unmap() {
  if (m_data != nullptr) munmap(m_data, m_windowLength);
  m_data = nullptr;
  m_windowOffset = 0;
  m_windowLength = 0;
}

}  // namespace quill
