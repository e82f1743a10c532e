// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/data_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace quill {

CDataLock::~CDataLock() {
  if (m_file != -1) close(m_file);
}

CDataLock::Result CDataLock::Lock(const std::string& path) {
  m_file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (m_file == -1) return Result::kFailed;
  if (flock(m_file, LOCK_EX | LOCK_NB) == 0) return Result::kLocked;
  const int reason = errno;
  close(m_file);
  m_file = -1;
  errno = reason;
  return reason == EWOULDBLOCK ? Result::kTaken : Result::kFailed;
}

}  // namespace quill
