// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/move_by_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <tuple>

#include "platform/parent_folder.h"
#include "platform/rename_no_replace.h"

namespace quill {
namespace {

constexpr size_t kKernelShare = size_t{1} << 30;  // bytes asked of the kernel at a time
constexpr size_t kBuffer = size_t{1} << 20;

class CDescriptor {
 public:
  explicit CDescriptor(int file) : m_file(file) {}
  ~CDescriptor() {
    if (m_file != -1) close(m_file);
  }
  CDescriptor(const CDescriptor&) = delete;
  CDescriptor& operator=(const CDescriptor&) = delete;
  [[nodiscard]] bool IsOpen() const { return m_file != -1; }
  [[nodiscard]] int Get() const { return m_file; }

 private:
  const int m_file;
};

bool IsSame(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// The time of the last change tells of writers that set the time of modification back.
bool IsUnchanged(const std::string& path, const struct stat& then) {
  struct stat now{};
  return lstat(path.c_str(), &now) == 0 && now.st_dev == then.st_dev && now.st_ino == then.st_ino &&
         now.st_size == then.st_size && IsSame(now.st_mtim, then.st_mtim) &&
         IsSame(now.st_ctim, then.st_ctim);
}

int CopyData(int from, int to) {
  while (copy_file_range(from, nullptr, to, nullptr, kKernelShare, 0) > 0) {
  }
  // Most pairs of volumes leave all of it to this loop; it also finds out why the kernel stopped.
  const auto buffer = std::make_unique_for_overwrite<char[]>(kBuffer);
  for (;;) {
    const ssize_t got = read(from, buffer.get(), kBuffer);
    if (got == 0) return 0;
    if (got < 0 && errno != EINTR) return errno;
    for (ssize_t done = 0; done < got;) {
      const ssize_t part = write(to, buffer.get() + done, static_cast<size_t>(got - done));
      if (part < 0 && errno != EINTR) return errno;
      if (part > 0) done += part;
    }
  }
}

void CopyAttributes(int from, int to) {
  std::string names, value;
  const ssize_t room = flistxattr(from, nullptr, 0);
  if (room <= 0) return;
  names.resize(static_cast<size_t>(room));
  const ssize_t length = flistxattr(from, names.data(), names.size());
  if (length <= 0) return;
  names.resize(static_cast<size_t>(length));
  for (size_t at = 0; at < names.size();) {
    const char* const name = names.c_str() + at;
    const ssize_t size = fgetxattr(from, name, nullptr, 0);
    value.resize(size > 0 ? static_cast<size_t>(size) : 0);
    if (size >= 0 && fgetxattr(from, name, value.data(), value.size()) == size)
      std::ignore = fsetxattr(to, name, value.data(), value.size(), 0);
    at = names.find('\0', at);
    if (at == names.npos) return;
    ++at;
  }
}

// As far as the volume takes it. The owner comes first, since a change of it takes rights off.
void CopyDescription(int from, int to, const struct stat& info) {
  mode_t mode = info.st_mode & 07777;
  if (fchown(to, info.st_uid, info.st_gid) != 0) mode &= 0777;
  std::ignore = fchmod(to, mode);
  CopyAttributes(from, to);
  const timespec times[2] = {info.st_atim, info.st_mtim};
  std::ignore = futimens(to, times);
}

int Copy(int from, int to, const struct stat& info) {
  if (const int error = CopyData(from, to)) return error;
  CopyDescription(from, to, info);
  struct stat copy{};
  if (fsync(to) != 0 || fstat(to, &copy) != 0) return errno;
  return copy.st_size == info.st_size ? 0 : EBUSY;
}

// Some file systems cannot do this with a folder, and some folders cannot be opened for it.
int SyncFolder(const std::string& path) {
  const CDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.IsOpen() || fsync(folder.Get()) == 0 || errno == EINVAL) return 0;
  return errno;
}

int RemoveSource(const std::string& from, const std::string& targetFolder,
                 const struct stat& info) {
  if (const int error = SyncFolder(targetFolder)) return error;
  if (!IsUnchanged(from, info)) return EBUSY;
  return unlink(from.c_str()) == 0 ? 0 : errno;
}

// Unless another program has put something else there.
void RemoveCopy(const std::string& path, int copy) {
  struct stat ours{}, there{};
  if (fstat(copy, &ours) == 0 && lstat(path.c_str(), &there) == 0 && ours.st_dev == there.st_dev &&
      ours.st_ino == there.st_ino)
    unlink(path.c_str());
}

}  // namespace

int MoveByCopy(const std::string& from, const std::string& to) {
  // What can be known beforehand is not worth a copy.
  struct stat info{};
  if (lstat(to.c_str(), &info) == 0) return EEXIST;
  if (faccessat(AT_FDCWD, ParentFolder(from).c_str(), W_OK | X_OK, AT_EACCESS) != 0) return errno;
  const CDescriptor source(open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!source.IsOpen() || fstat(source.Get(), &info) != 0) return errno;
  if (!S_ISREG(info.st_mode)) return S_ISDIR(info.st_mode) ? EISDIR : EINVAL;

  const std::string targetFolder = ParentFolder(to);
  std::string hidden = targetFolder + "/.quillmarsh-XXXXXX";
  const CDescriptor copy(mkostemp(hidden.data(), O_CLOEXEC));
  if (!copy.IsOpen()) return errno;
  int error = Copy(source.Get(), copy.Get(), info);
  if (error == 0) error = RenameNoReplace(hidden, to);
  if (error != 0) {
    RemoveCopy(hidden, copy.Get());
    return error;
  }
  error = RemoveSource(from, targetFolder, info);
  if (error != 0) RemoveCopy(to, copy.Get());
  return error;
}

}  // namespace quill
