// SPDX-License-Identifier: GPL-3.0-or-later
// The text file behind an export: gathers records and writes them out whenever more than 64 KiB
// wait, so that memory stays flat whatever the size of the results. They go to a hidden file beside
// the target, which takes its place at the end: an export that fails or is given up leaves what was
// there before and nothing else. What is no regular file (a pipe, a device) is written to directly.
// The first failure is reported ("Export") and kept; what comes behind it is dropped. Belongs to
// one thread.
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

  CExportWriter() = default;
  // Gives up what has not been finished.
  ~CExportWriter() { GiveUp(); }
  CExportWriter(const CExportWriter&) = delete;
  CExportWriter& operator=(const CExportWriter&) = delete;

  // False, with the reason at hand, when nothing can be written there.
  [[nodiscard]] bool Open(const std::string& path);
  CExportWriter& operator<<(std::string_view text) {
    m_waiting += text;
    return *this;
  }
  // Ends a record: the place where the file may be written to.
  void EndRecord();
  // Writes the rest and puts the file in its place. False if anything has failed; `failure` (may be
  // null) is told what, for the user.
  [[nodiscard]] bool Finish(std::string* failure);
  [[nodiscard]] bool HasFailed() const { return !m_failure.empty(); }
  // A request that cannot be met.
  void Refuse(std::string_view reason);

 private:
  [[nodiscard]] bool OpenBeside(const std::string& folder);
  void Flush();
  void GiveUp();
  void Fail(std::string_view action, std::string_view reason);

  std::string m_path;    // as the user named it
  std::string m_target;  // what a link in its place leads to
  std::string m_hidden;  // the file that is written; empty when that is the target itself
  CFile m_file;
  std::string m_waiting;
  std::string m_failure;  // empty while all is well
};

}  // namespace quill
