// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/file_info.h"

#include <sys/stat.h>

#include "core/system_error.h"

namespace quill {

bool GetFileInfo(const std::string& path, FileInfo* info) {
  struct stat status{};
  if (stat(path.c_str(), &status) != 0) return CSystemError::Bool("GetFileInfo", 267, false);
  info->size = static_cast<uint64_t>(status.st_size);
  info->modified = static_cast<uint32_t>(status.st_mtime);
  return true;
}

}  // namespace quill
