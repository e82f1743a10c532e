// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace quill::test {

CTempFolder::CTempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "quilltest-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "no temporary folder";
  m_path = pattern;
}

CTempFolder::~CTempFolder() {
  // A test may have left folders that cannot be listed.
  std::error_code error;
  for (auto entry = std::filesystem::recursive_directory_iterator(
           m_path, std::filesystem::directory_options::skip_permission_denied, error);
       !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
    if (entry->is_directory(error) && !entry->is_symlink(error))
      std::filesystem::permissions(entry->path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, error);
  }
  std::filesystem::remove_all(m_path, error);
}

std::string CTempFolder::operator/(std::string_view name) const {
  return m_path + "/" + std::string(name);
}

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << "cannot read " << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteAll(const std::string& path, std::string_view content) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  EXPECT_TRUE(file.flush()) << "cannot write " << path;
}

}  // namespace quill::test
