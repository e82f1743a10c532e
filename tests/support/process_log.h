// SPDX-License-Identifier: GPL-3.0-or-later
// The log of the process, in a folder of a test's own.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "core/log.h"
#include "support/temp_folder.h"

namespace quill::test {

class CProcessLog {
 public:
  CProcessLog() { CLog::Instance().SetFolder(m_folder.Path()); }
  ~CProcessLog() { CLog::Instance().SetFolder({}); }
  CProcessLog(const CProcessLog&) = delete;
  CProcessLog& operator=(const CProcessLog&) = delete;

  [[nodiscard]] const std::string& Folder() const { return m_folder.Path(); }
  // What was written so far, without the times.
  [[nodiscard]] std::vector<std::string> Lines() const {
    CLog::Instance().SetFolder(m_folder.Path());  // closes the file
    std::vector<std::string> lines;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
      std::istringstream text(ReadAll(entry.path()));
      for (std::string line; std::getline(text, line);) {
        EXPECT_TRUE(line.size() > 20 && line.ends_with('\r')) << line;
        lines.push_back(line.substr(20, line.size() - 21));
      }
    }
    return lines;
  }

 private:
  const CTempFolder m_folder;
};

}  // namespace quill::test
