// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of a path that the tables sort and compare by. Pure functions; the views point into the
// argument.
#pragma once

#include <string>
#include <string_view>

namespace quill {

// Up to but excluding the last '/'; empty without one.
[[nodiscard]] inline std::string_view FolderPart(std::string_view path) {
  const size_t slash = path.rfind('/');
  return slash == path.npos ? std::string_view() : path.substr(0, slash);
}

// What follows the last '/'; the whole path without one.
[[nodiscard]] inline std::string_view NamePart(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

// From the last '.' of the name to the end, with ASCII letters in lower case; empty without one.
[[nodiscard]] inline std::string LowerExtension(std::string_view path) {
  const std::string_view name = NamePart(path);
  const size_t point = name.rfind('.');
  std::string extension(point == name.npos ? std::string_view() : name.substr(point));
  for (char& c : extension) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return extension;
}

}  // namespace quill
