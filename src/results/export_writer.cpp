// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/export_writer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "core/system_error.h"

namespace quill {

namespace {

constexpr int kMostNames = 1000;  // of hidden files that a kill may have left
constexpr mode_t kPermissions = 07777;

}  // namespace

bool CExportWriter::Open(const std::string& path) {
  m_path = path;
  std::error_code isNew;
  const std::filesystem::path existing = std::filesystem::canonical(path, isNew);
  m_target = isNew ? path : existing.string();
  struct stat info{};
  const bool replaces = !isNew && stat(m_target.c_str(), &info) == 0;
  // A rename would not ask whether the file in its way may be written to.
  bool opened = !replaces || access(m_target.c_str(), W_OK) == 0;
  if (opened && replaces && !S_ISREG(info.st_mode))
    opened = m_file.Open(m_target, CFile::kTruncate);
  else if (opened)
    opened = OpenBeside(std::filesystem::path(m_target).parent_path().string()) &&
             (!replaces || chmod(m_hidden.c_str(), info.st_mode & kPermissions) == 0);
  if (opened) return true;
  Fail("create", std::strerror(errno));
  return false;
}

bool CExportWriter::OpenBeside(const std::string& folder) {
  const std::string base =
      (folder.empty() ? "." : folder) + "/.quillmarsh-export-" + std::to_string(getpid()) + "-";
  for (int i = 0; i < kMostNames; ++i) {
    std::string name = base + std::to_string(i);
    if (m_file.Open(name, CFile::kNew)) {
      m_hidden = std::move(name);
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

void CExportWriter::EndRecord() {
  if (m_waiting.size() > kMostWaiting) Flush();
}

void CExportWriter::Flush() {
  errno = 0;
  if (m_failure.empty() && !m_waiting.empty() &&
      !m_file.Write(m_waiting.data(), m_waiting.size())) {
    // The write that uses up the disk ends short, and gives no reason.
    Fail("write", std::strerror(errno != 0 ? errno : ENOSPC));
  }
  m_waiting.clear();
}

void CExportWriter::Refuse(std::string_view reason) {
  Fail("write", reason);
}

bool CExportWriter::Finish(std::string* failure) {
  Flush();
  m_file.Close();
  if (m_failure.empty() && !m_hidden.empty()) {
    if (rename(m_hidden.c_str(), m_target.c_str()) == 0)
      m_hidden.clear();
    else
      Fail("create", std::strerror(errno));
  }
  GiveUp();
  if (failure) *failure = m_failure;
  return m_failure.empty();
}

void CExportWriter::GiveUp() {
  m_file.Close();
  if (!m_hidden.empty()) unlink(m_hidden.c_str());
  m_hidden.clear();
}

void CExportWriter::Fail(std::string_view action, std::string_view reason) {
  CSystemError::Bool("Export", 1, false);
  m_failure = "cannot " + std::string(action) + " " + m_path + ": " + std::string(reason);
}

}  // namespace quill
