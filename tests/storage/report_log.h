// SPDX-License-Identifier: GPL-3.0-or-later
// The reports that a test provokes: the process's log goes to a folder of its own while this lives.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "core/log.h"
#include "support/temp_folder.h"

namespace quill::test {

class CReportLog {
 public:
  CReportLog() { CLog::Instance().SetFolder(m_folder.Path()); }
  ~CReportLog() { CLog::Instance().SetFolder({}); }
  CReportLog(const CReportLog&) = delete;
  CReportLog& operator=(const CReportLog&) = delete;

  // All that was logged since the last call.
  [[nodiscard]] std::string TakeText() {
    CLog::Instance().SetFolder(m_folder.Path());
    std::string text;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
      text += ReadAll(entry.path());
      std::filesystem::remove(entry.path());
    }
    return text;
  }
  // The reports of it, as "Name:line" with a blank behind each.
  [[nodiscard]] std::string Take() {
    const std::string text = TakeText();
    std::string reports;
    constexpr std::string_view kFailed = " failed [";
    for (size_t at = text.find(kFailed); at != std::string::npos; at = text.find(kFailed, at + 1)) {
      const size_t begin = text.rfind('\t', at) + 1;
      reports += text.substr(begin, at - begin) + " ";
    }
    return reports;
  }

 private:
  CTempFolder m_folder;
};

}  // namespace quill::test
