// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the link and of its clients share: a folder, the log as it was written, a
// decoder table of the test's own and scripts for the fake decoder.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "core/configuration.h"
#include "core/log.h"
#include "core/settings_store.h"
#include "decoding/audio_decoder.h"
#include "decoding/decoder_table.h"
#include "decoding/process_link.h"
#include "support/temp_folder.h"

namespace quill::test {

class LinkTest : public testing::Test {
 protected:
  LinkTest() {
    std::signal(SIGPIPE, SIG_IGN);
    CConfiguration::Instance().SetStore(&m_store);
    CLog::Instance().SetFolder(m_folder / "log0");
    m_table.Reload();
  }
  ~LinkTest() override {
    CLog::Instance().SetFolder(m_folder.Path());
    CConfiguration::Instance().SetStore(nullptr);
  }

  struct Logged {
    std::vector<std::string> messages;
    std::string reports;  // names of the failed operations, each with a blank behind it
  };
  // What was logged since the last call.
  Logged TakeLog() {
    const std::string folder = m_folder / ("log" + std::to_string(m_logsTaken++));
    CLog::Instance().SetFolder(m_folder / ("log" + std::to_string(m_logsTaken)));
    Logged logged;
    if (!std::filesystem::exists(folder)) return logged;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const std::string text = ReadAll(entry.path());
      for (size_t begin = 0, end = 0; (end = text.find("\r\n", begin)) != std::string::npos;
           begin = end + 2) {
        const std::string line = text.substr(begin + kStamp, end - begin - kStamp);
        if (line.find(" failed [") != std::string::npos)
          logged.reports += line.substr(0, line.find(':')) + " ";
        else if (line.rfind("System error [", 0) != 0)
          logged.messages.push_back(line);
      }
    }
    return logged;
  }
  std::vector<std::string> Messages() { return TakeLog().messages; }
  std::string Reports() { return TakeLog().reports; }

  // A file that tells the fake decoder what to do; one line each.
  std::string Script(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    std::string path = m_folder / ("script" + std::to_string(m_scripts++));
    WriteAll(path, text);
    return path;
  }
  // A file that opens, and then does this.
  std::string Opened(std::vector<std::string> lines) {
    lines.emplace_back("open reply 2 2 44100");
    return Script(lines);
  }

  // Another table: the built-in rows with this text in the first.
  void ChangeTable(const std::string& extensions) {
    CConfiguration::Instance().SetList("audioDecoders", {"5", "1", extensions, "11", "1", "*"});
    m_table.Reload();
  }

  static constexpr size_t kStamp = 20;
  const CTempFolder m_folder;
  CMemorySettingsStore m_store;
  CDecoderTable m_table;
  int m_logsTaken = 0;
  int m_scripts = 0;
};

using Lines = std::vector<std::string>;

}  // namespace quill::test
