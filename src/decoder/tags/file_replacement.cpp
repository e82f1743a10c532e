// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/tags/file_replacement.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace quill::decoder {

namespace {

constexpr int kNames = 100;
// ioctl_ficlone(2), whose header need not compile as C++.
constexpr unsigned long kShareBlocks = _IOW(0x94, 9, int);

bool IsSame(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

}  // namespace

CFileReplacement::~CFileReplacement() {
  if (!m_name.empty()) unlink(m_name.c_str());
  if (m_copy != -1) close(m_copy);
}

bool CFileReplacement::Begin(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr),
                                                             &std::free);
  if (!resolved) return false;
  m_target = resolved.get();
  m_folder = m_target.substr(0, m_target.rfind('/') + 1);
  const int source = open(m_target.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (source == -1) return false;
  // A file that may not be written is not to be replaced either.
  const bool copied = fstat(source, &m_before) == 0 && S_ISREG(m_before.st_mode) &&
                      access(m_target.c_str(), W_OK) == 0 && MakeCopy() && CopyContent(source);
  if (copied) CopyAttributes(source);
  close(source);
  return copied;
}

bool CFileReplacement::MakeCopy() {
  m_copy = open(m_folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (m_copy != -1 || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL))
    return m_copy != -1;
  for (int i = 0; i < kNames && m_copy == -1; ++i) {
    std::string name = m_folder + ".tags-" + std::to_string(getpid()) + "-" + std::to_string(i);
    m_copy = open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (m_copy != -1)
      m_name = std::move(name);
    else if (errno != EEXIST)
      return false;
  }
  return m_copy != -1;
}

bool CFileReplacement::CopyContent(int source) const {
  // Some file systems share the blocks of a copy, which takes no time and no room.
  if (ioctl(m_copy, kShareBlocks, source) == 0) return true;
  off_t done = 0;
  while (done < m_before.st_size) {
    constexpr size_t kMost = 64 << 20;
    const ssize_t put = sendfile(m_copy, source, &done, kMost);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
  }
  return true;
}

void CFileReplacement::CopyAttributes(int source) const {
  // As far as the system lets: the owner before the mode, whose special bits a change of owner
  // takes off.
  if (fchown(m_copy, m_before.st_uid, m_before.st_gid) != 0)
    (void)!fchown(m_copy, static_cast<uid_t>(-1), m_before.st_gid);
  (void)fchmod(m_copy, m_before.st_mode & 07777);
  const ssize_t size = flistxattr(source, nullptr, 0);
  if (size <= 0) return;
  std::vector<char> names(static_cast<size_t>(size));
  const ssize_t listed = flistxattr(source, names.data(), names.size());
  for (ssize_t at = 0; at < listed;
       at += static_cast<ssize_t>(std::string(&names[at]).size()) + 1) {
    const char* const name = &names[static_cast<size_t>(at)];
    const ssize_t length = fgetxattr(source, name, nullptr, 0);
    if (length < 0) continue;
    std::vector<char> value(static_cast<size_t>(length) + 1);
    const ssize_t got = fgetxattr(source, name, value.data(), static_cast<size_t>(length));
    if (got >= 0) (void)fsetxattr(m_copy, name, value.data(), static_cast<size_t>(got), 0);
  }
}

bool CFileReplacement::GiveName() {
  if (!m_name.empty()) return true;
  const std::string self = "/proc/self/fd/" + std::to_string(m_copy);
  for (int i = 0; i < kNames; ++i) {
    std::string name = m_folder + ".tags-" + std::to_string(getpid()) + "-" + std::to_string(i);
    if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      m_name = std::move(name);
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

bool CFileReplacement::Commit() {
  if (m_copy == -1 || fsync(m_copy) != 0) return false;
  struct stat now{};
  if (lstat(m_target.c_str(), &now) != 0 || !IsSame(now, m_before)) return false;
  if (!GiveName() || rename(m_name.c_str(), m_target.c_str()) != 0) return false;
  m_name.clear();
  const int folder = open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder != -1) {
    (void)fsync(folder);
    close(folder);
  }
  return true;
}

}  // namespace quill::decoder
