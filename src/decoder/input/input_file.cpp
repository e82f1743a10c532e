// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/input/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace quill::decoder {

bool CInputFile::Open(const std::string& path) {
  Close();
  if (path.find('\0') != std::string::npos) return false;
  // Opening a pipe or a device may already have an effect, so look before; and look again behind,
  // since the name may have changed hands in between.
  struct stat status{};
  if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  m_descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (m_descriptor < 0) return false;
  if (fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    Close();
    return false;
  }
  m_size = static_cast<uint64_t>(status.st_size);
  return true;
}

void CInputFile::Close() {
  if (m_descriptor >= 0) close(m_descriptor);
  m_descriptor = -1;
  m_size = 0;
}

size_t CInputFile::ReadAt(uint64_t offset, void* buffer, size_t length) const {
  auto* target = static_cast<uint8_t*>(buffer);
  size_t done = 0;
  while (done < length) {
    const ssize_t count =
        pread(m_descriptor, target + done, length - done, static_cast<off_t>(offset + done));
    if (count > 0)
      done += static_cast<size_t>(count);
    else if (count == 0 || errno != EINTR)
      break;
  }
  return done;
}

}  // namespace quill::decoder
