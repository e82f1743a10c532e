// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "core/system_error.h"

namespace quill {

bool CFile::Open(const std::string& path, int32_t mode) {
  Close();
  int flags = 0;
  switch (mode) {
    case kRead:
      flags = O_RDONLY;
      break;
    case kWrite:
      flags = O_WRONLY | O_CREAT;
      break;
    case kReadWrite:
      flags = O_RDWR | O_CREAT;
      break;
    case kTruncate:
      flags = O_WRONLY | O_CREAT | O_TRUNC;
      break;
    case kNew:
      flags = O_WRONLY | O_CREAT | O_EXCL;
      break;
    default:
      return false;
  }
  m_file = open(path.c_str(), flags | O_CLOEXEC, 0644);
  return m_file != -1;
}

void CFile::Close() {
  if (m_file != -1) close(m_file);
  m_file = -1;
}

bool CFile::Read(void* buffer, size_t length, size_t* got) {
  size_t done = 0;
  while (done < length) {
    const ssize_t part = read(m_file, static_cast<char*>(buffer) + done, length - done);
    if (part < 0) {
      if (errno == EINTR) continue;
      return CSystemError::Bool("Read", 104, false);
    }
    if (part == 0) break;
    done += static_cast<size_t>(part);
  }
  if (got == nullptr) return done == length;
  *got = done;
  return true;
}

bool CFile::Seek(uint64_t offset) {
  if (lseek(m_file, static_cast<off_t>(offset), SEEK_SET) == -1)
    return CSystemError::Bool("Seek", 132, false);
  return true;
}

bool CFile::Write(const void* buffer, size_t length) {
  ssize_t done;
  do {
    done = write(m_file, buffer, length);
  } while (done < 0 && errno == EINTR);
  if (done < 0) return CSystemError::Bool("Write", 119, false);
  if (static_cast<size_t>(done) != length) return CSystemError::Bool("Write", 124, false);
  return true;
}

bool CFile::Truncate(uint64_t length) {
  const off_t end = static_cast<off_t>(length);
  if (ftruncate(m_file, end) != 0 || lseek(m_file, end, SEEK_SET) == -1)
    return CSystemError::Bool("Truncate", 156, false);
  return true;
}

uint64_t CFile::Size() {
  struct stat info;
  if (fstat(m_file, &info) != 0) {
    CSystemError::Integer("Size", 185, 0);
    return 0;
  }
  return static_cast<uint64_t>(info.st_size);
}

uint64_t CFile::Position() {
  const off_t position = lseek(m_file, 0, SEEK_CUR);
  return position == -1 ? 0 : static_cast<uint64_t>(position);
}

}  // namespace quill
