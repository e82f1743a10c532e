// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop_trash.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string_view>

#include "platform/parent_folder.h"
#include "platform/rename_no_replace.h"
#include "results/path_parts.h"

namespace quill {
namespace {

constexpr std::string_view kInfoSuffix = ".trashinfo";
constexpr size_t kLongestExtension = 16;  // a longer one is no extension
constexpr uint32_t kNumberedNames = 16;   // tried before random ones
constexpr uint32_t kTriedNames = 1000;

// What follows for the names below a folder: "/" in front of all.
std::string Below(const std::string& folder, std::string_view name) {
  return (folder == "/" ? std::string() : folder) + "/" + std::string(name);
}

// Of the path or, where it does not exist yet, of the folder that it would be made in.
bool VolumeOf(std::string path, dev_t* volume) {
  struct stat info{};
  while (stat(path.c_str(), &info) != 0) {
    if (errno != ENOENT || path.size() <= 1) return false;
    path = ParentFolder(path);
  }
  *volume = info.st_dev;
  return true;
}

// The folder and what leads to it, for the user's eyes only.
int MakeFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0700) == 0) return 0;
  if (errno == ENOENT && path.size() > 1) {
    if (const int error = MakeFolder(ParentFolder(path))) return error;
    if (mkdir(path.c_str(), 0700) == 0) return 0;
  }
  struct stat info{};
  if (errno != EEXIST || stat(path.c_str(), &info) != 0) return errno;
  return S_ISDIR(info.st_mode) ? 0 : ENOTDIR;
}

// On a volume that others write to, what is there already must be the user's own and no link:
// files would go to somebody else's folder.
int MakeOwnFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return errno;
  struct stat info{};
  if (lstat(path.c_str(), &info) != 0) return errno;
  if (!S_ISDIR(info.st_mode)) return ENOTDIR;
  return info.st_uid == getuid() ? 0 : EACCES;
}

int MakeVolumeTrash(const std::string& top, std::string* trash) {
  const std::string user = std::to_string(getuid());
  const std::string shared = Below(top, ".Trash");
  struct stat info{};
  if (lstat(shared.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && (info.st_mode & S_ISVTX)) {
    *trash = shared + "/" + user;
    if (MakeOwnFolder(*trash) == 0) return 0;
  }
  *trash = Below(top, ".Trash-" + user);
  return MakeOwnFolder(*trash);
}

// The highest folder of the volume.
std::string TopOf(std::string folder, dev_t volume) {
  struct stat info{};
  while (folder != "/") {
    const std::string parent = ParentFolder(folder);
    if (stat(parent.c_str(), &info) != 0 || info.st_dev != volume) break;
    folder = parent;
  }
  return folder;
}

std::string PercentEncoded(std::string_view path) {
  constexpr std::string_view kPlain = "-_.!~*'()/";
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : path) {
    const bool alphanumeric =
        (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    if (alphanumeric || kPlain.find(c) != kPlain.npos) {
      text += c;
    } else {
      const auto byte = static_cast<uint8_t>(c);
      text += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return text;
}

std::string InfoText(std::string_view path) {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  localtime_r(&now, &fields);
  char date[32];
  const size_t length = std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &fields);
  return "[Trash Info]\nPath=" + PercentEncoded(path) +
         "\nDeletionDate=" + std::string(date, length) + "\n";
}

// The n-th name to try for a file, at most `limit` bytes: the file's own, then numbered ones, then
// random ones, since a trash may hold thousands of files of one name.
std::string Candidate(std::string_view name, uint32_t n, size_t limit) {
  size_t point = name.rfind('.');
  if (point == name.npos || point == 0 || name.size() - point > kLongestExtension)
    point = name.size();
  uint32_t number = n;
  if (n >= kNumberedNames && getrandom(&number, sizeof number, GRND_NONBLOCK) < 0) number = n;
  const std::string tail =
      (n == 0 ? std::string() : "." + std::to_string(number)) + std::string(name.substr(point));
  size_t kept = point;
  if (kept + tail.size() > limit) {
    kept = limit - std::min(limit, tail.size());
    while (kept > 0 && (static_cast<uint8_t>(name[kept]) & 0xC0) == 0x80) --kept;
  }
  return std::string(name.substr(0, kept)) + tail;
}

size_t LongestName(const std::string& folder) {
  const long limit = pathconf(folder.c_str(), _PC_NAME_MAX);
  const size_t length = limit > 0 ? std::min<size_t>(static_cast<size_t>(limit), 255) : 255;
  return length - kInfoSuffix.size();
}

int WriteInfo(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t part = write(file, text.data(), text.size());
    if (part < 0 && errno != EINTR) return errno;
    if (part > 0) text.remove_prefix(static_cast<size_t>(part));
  }
  return 0;
}

int MoveInto(const std::string& trash, const std::string& path, std::string_view oldPath) {
  const std::string files = trash + "/files", infos = trash + "/info";
  if (const int error = MakeFolder(files)) return error;
  if (const int error = MakeFolder(infos)) return error;
  const std::string text = InfoText(oldPath);
  const size_t limit = LongestName(infos);
  for (uint32_t n = 0; n < kTriedNames; ++n) {
    const std::string name = Candidate(NamePart(path), n, limit);
    const std::string info = infos + "/" + name + std::string(kInfoSuffix);
    const int file = open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file == -1) {
      if (errno == EEXIST) continue;
      return errno;
    }
    int error = WriteInfo(file, text);
    if (close(file) != 0 && error == 0) error = errno;
    if (error == 0) error = RenameNoReplace(path, files + "/" + name);
    if (error == 0) return 0;
    unlink(info.c_str());
    // A file may lie there without its info.
    if (error != EEXIST) return error;
  }
  return EEXIST;
}

}  // namespace

CDesktopTrash::CDesktopTrash(std::string home) : m_home(std::move(home)) {}

int CDesktopTrash::Put(const std::string& path) const {
  struct stat info{};
  if (lstat(path.c_str(), &info) != 0) return errno;
  if (S_ISDIR(info.st_mode)) return EISDIR;

  // By the folder's device: on a layered file system that of the file may be another.
  const std::unique_ptr<char, decltype(&std::free)> resolved(
      realpath(ParentFolder(path).c_str(), nullptr), &std::free);
  if (!resolved || stat(resolved.get(), &info) != 0) return errno;
  const std::string folder = resolved.get();
  const std::string oldPath = Below(folder, NamePart(path));
  dev_t homeVolume = 0;
  if (!m_home.empty() && VolumeOf(m_home, &homeVolume) && homeVolume == info.st_dev) {
    const int error = MakeFolder(m_home);
    return error != 0 ? error : MoveInto(m_home, path, oldPath);
  }
  const std::string top = TopOf(folder, info.st_dev);
  std::string trash;
  if (const int error = MakeVolumeTrash(top, &trash)) return error;
  return MoveInto(trash, path, std::string_view(oldPath).substr(top == "/" ? 1 : top.size() + 1));
}

}  // namespace quill
