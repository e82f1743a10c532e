// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disk_file_service.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "core/kernel_interface.h"
#include "platform/move_by_copy.h"
#include "platform/rename_no_replace.h"
#include "platform/user_folders.h"

namespace quill {
namespace {

std::string HomeTrash() {
  const std::string data = CUserFolders::DataHome();
  return data.empty() ? data : data + "/Trash";
}

int ClearFlags(int file) {
  int flags = 0;
  if (ioctl(file, kernel::kGetFileFlags, &flags) != 0) return errno;
  constexpr int kProtecting = kernel::kImmutableFlag | kernel::kAppendOnlyFlag;
  if ((flags & kProtecting) == 0) return ENODATA;
  flags &= ~kProtecting;
  return ioctl(file, kernel::kSetFileFlags, &flags) == 0 ? 0 : errno;
}

}  // namespace

CDiskFileService::CDiskFileService() : m_trash(HomeTrash()) {}

int CDiskFileService::Trash(const std::string& path) {
  return m_trash.Put(path);
}

int CDiskFileService::Move(const std::string& from, const std::string& to) {
  struct stat info{};
  if (lstat(from.c_str(), &info) != 0) return errno;
  if (S_ISDIR(info.st_mode)) return EISDIR;
  const int error = RenameNoReplace(from, to);
  return error == EXDEV ? MoveByCopy(from, to) : error;
}

int CDiskFileService::Rename(const std::string& from, const std::string& to) {
  return RenameNoReplace(from, to);
}

int CDiskFileService::ClearImmutable(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file == -1) return errno;
  const int error = ClearFlags(file);
  close(file);
  return error;
}

}  // namespace quill
