#include "results/export_writer.h"

#include <cerrno>
#include <cstring>

#include "core/system_error.h"

namespace quill {

bool CExportWriter::Open(const std::string& path) {
  m_path = path;
  if (m_file.Open(path, CFile::kTruncate)) return true;
  Fail("create", std::strerror(errno));
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
  if (failure) *failure = m_failure;
  return m_failure.empty();
}

void CExportWriter::Fail(std::string_view action, std::string_view reason) {
  CSystemError::Bool("Export", 1, false);
  m_failure = "cannot " + std::string(action) + " " + m_path + ": " + std::string(reason);
}

}  // namespace quill
