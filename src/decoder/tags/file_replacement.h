// SPDX-License-Identifier: GPL-3.0-or-later
// A copy of a file that takes the file's place when it is complete, in one step: whoever looks, at
// whatever moment, and whatever happens to this process or to the disk, sees the old file or the
// new one. Until then the copy has no name where the file system can do without one, so that a
// process that is killed leaves nothing behind.
#pragma once

#include <sys/stat.h>

#include <string>

namespace quill::decoder {

class CFileReplacement {
 public:
  CFileReplacement() = default;
  ~CFileReplacement();
  CFileReplacement(const CFileReplacement&) = delete;
  CFileReplacement& operator=(const CFileReplacement&) = delete;

  // Copies content, mode, owner and extended attributes. Of a link, the file that it leads to is
  // meant. False when the file cannot be read, its folder cannot be written or the disk is full.
  [[nodiscard]] bool Begin(const std::string& path);
  // Of the copy; open for reading and writing.
  [[nodiscard]] int Descriptor() const { return m_copy; }
  // Puts the copy in the file's place once it is on disk. False when that fails, or when the file
  // has changed meanwhile: it then stays as it is.
  [[nodiscard]] bool Commit();

 private:
  [[nodiscard]] bool MakeCopy();
  [[nodiscard]] bool CopyContent(int source) const;
  void CopyAttributes(int source) const;
  [[nodiscard]] bool GiveName();

  std::string m_target;  // with links resolved
  std::string m_folder;
  std::string m_name;  // of the copy, beside the target; empty while it has none
  struct stat m_before{};
  int m_copy = -1;
};

}  // namespace quill::decoder
