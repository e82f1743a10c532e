// SPDX-License-Identifier: GPL-3.0-or-later
// The real file system behind the operations on files. Names are raw bytes. No call overwrites a
// file, and a folder that has taken a file's name is refused. Any thread.
#pragma once

#include "platform/desktop_trash.h"
#include "results/file_operations.h"

namespace quill {

class CDiskFileService : public CFileService {
 public:
  // With the trash of the user that the environment tells at this moment.
  CDiskFileService();

  [[nodiscard]] int Trash(const std::string& path) override;
  [[nodiscard]] int Move(const std::string& from, const std::string& to) override;
  [[nodiscard]] int Rename(const std::string& from, const std::string& to) override;
  // Takes the immutable and the append-only flag off. ENODATA when there was neither.
  [[nodiscard]] int ClearImmutable(const std::string& path) override;

 private:
  const CDesktopTrash m_trash;
};

}  // namespace quill
