// SPDX-License-Identifier: GPL-3.0-or-later
// The folder of a path in the form that the system's calls take: never empty, also for a name
// alone and for what lies in the root.
#pragma once

#include <string>

#include "results/path_parts.h"

namespace quill {

[[nodiscard]] inline std::string ParentFolder(const std::string& path) {
  const std::string_view folder = FolderPart(path);
  if (!folder.empty()) return std::string(folder);
  return path.starts_with('/') ? "/" : ".";
}

}  // namespace quill
