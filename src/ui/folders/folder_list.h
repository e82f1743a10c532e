// SPDX-License-Identifier: GPL-3.0-or-later
// The rules of the list of folders to scan: no folder lies inside another, and what the settings
// keep. Pure functions; paths are bytes of the file system, absolute, without a '/' at the end.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/front_end.h"

namespace quill {

// The highest group; 0 stands for no group.
constexpr uint8_t kLastFolderGroup = 4;

// The path as the list keeps it: no double or trailing '/', no "." or "..". Empty for a path that
// is not absolute.
[[nodiscard]] std::string ListedPath(const std::string& path);

// What the addition of a folder does to a list. Letter case makes no difference between paths.
struct FolderAddition {
  // Place of the folder, or of one around it, that is there already: nothing happens.
  std::optional<size_t> coveredBy;
  std::vector<size_t> replaced;  // places of folders inside the new one, ascending: they go
};
[[nodiscard]] FolderAddition PlanAddition(const std::vector<TDXSelectedFolder>& list,
                                          const std::string& path);

// The stored form: for each folder its path as text (core/base64m.h), then the digit of its group,
// which is left out for none.
[[nodiscard]] std::vector<std::string> FoldersToSetting(const std::vector<TDXSelectedFolder>& list);
// What is no path is dropped without a word. Whether a folder is still there is not asked here.
[[nodiscard]] std::vector<TDXSelectedFolder> FoldersFromSetting(
    const std::vector<std::string>& setting);

}  // namespace quill
