// SPDX-License-Identifier: GPL-3.0-or-later
// A folder of a test's own, made in the system's temporary folder and removed with all its content
// at the end of the scope.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quill::test {

class CTempFolder {
 public:
  CTempFolder();
  ~CTempFolder();
  CTempFolder(const CTempFolder&) = delete;
  CTempFolder& operator=(const CTempFolder&) = delete;

  [[nodiscard]] const std::string& Path() const { return m_path; }
  // Full path of an entry.
  [[nodiscard]] std::string operator/(std::string_view name) const;

 private:
  std::string m_path;
};

// The whole content of a file; a failed test when it cannot be read.
[[nodiscard]] std::string ReadAll(const std::string& path);
// Writes a file, making its folders.
void WriteAll(const std::string& path, std::string_view content);

}  // namespace quill::test
