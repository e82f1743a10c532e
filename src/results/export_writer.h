// The text file behind an export: gathers records and writes them out whenever more than 64 KiB
// wait, so that memory stays flat whatever the size of the results. The first failure is reported
// ("Export") and kept; what comes behind it is dropped.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "storage/file.h"

namespace quill {

class CExportWriter {
 public:
  static constexpr size_t kMostWaiting = 65536;  // bytes
  static constexpr const char* kLineEnd = "\r\n";

  // Creates the file, or empties it. False, with the reason at hand, when that fails.
  [[nodiscard]] bool Open(const std::string& path);
  CExportWriter& operator<<(std::string_view text) {
    m_waiting += text;
    return *this;
  }
  // Ends a record: the place where the file may be written to.
  void EndRecord();
  // Writes the rest and closes. False if anything has failed; `failure` (may be null) is told what,
  // for the user.
  [[nodiscard]] bool Finish(std::string* failure);
  // A request that cannot be met, before anything has been put out.
  void Refuse(std::string_view reason);

 private:
  void Flush();
  void Fail(std::string_view action, std::string_view reason);

  std::string m_path;
  CFile m_file;
  std::string m_waiting;
  std::string m_failure;  // empty while all is well
};

}  // namespace quill
