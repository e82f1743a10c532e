#include "results/export_writer.h"

#include <cerrno>
#include <cstring>

#include "core/system_error.h"

namespace quill {

bool CExportWriter::Open(const std::string& path) {
  m_path = path;
  if (m_file.Open(path, CFile::kTruncate)) return true;
  m_failure = "cannot create " + path + ": " + std::strerror(errno);
  return false;
}

void CExportWriter::EndRecord() {
  if (m_waiting.size() > kMostWaiting) Flush();
}

void CExportWriter::Flush() {
  if (m_failure.empty() && !m_waiting.empty() &&
      !m_file.Write(m_waiting.data(), m_waiting.size())) {
    m_failure = "cannot write " + m_path + ": " + std::strerror(errno);
    CSystemError::Plain("Export", 1);
  }
  m_waiting.clear();
}

bool CExportWriter::Finish(std::string* failure) {
  Flush();
  m_file.Close();
  if (failure) *failure = m_failure;
  return m_failure.empty();
}

void CExportWriter::Refuse(std::string_view reason) {
  CSystemError::Plain("Export", 2);
  if (m_failure.empty()) m_failure = std::string(reason);
}

}  // namespace quill
