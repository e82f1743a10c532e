// SPDX-License-Identifier: GPL-3.0-or-later
// The person in front of a terminal, for operations on files. SIGINT and SIGTERM stop between two
// files; a second signal has the system's own effect. Main thread.
#pragma once

#include <csignal>

#include "results/file_operations.h"

namespace quill::cli {

class CTerminalQuestions : public CFileQuestions {
 public:
  CTerminalQuestions();
  ~CTerminalQuestions() override;
  CTerminalQuestions(const CTerminalQuestions&) = delete;
  CTerminalQuestions& operator=(const CTerminalQuestions&) = delete;

  // Asks on standard error and reads a line from standard input; true for "y" or "yes".
  [[nodiscard]] static bool Ask(const std::string& question);

  // The command has asked its own question before any operation begins.
  [[nodiscard]] bool Confirm(const std::string&, const std::string&, const std::string&) override {
    return true;
  }
  [[nodiscard]] std::string ChooseMoveFolder() override { return {}; }
  [[nodiscard]] bool Perform(const std::string& path, size_t index, size_t count,
                             const std::function<void()>& work) override;
  void Finished(const std::vector<std::string>& failures) override;

  [[nodiscard]] size_t Handled() const { return m_handled; }
  [[nodiscard]] size_t Failed() const { return m_failed; }
  [[nodiscard]] static bool Interrupted();

 private:
  size_t m_handled = 0;
  size_t m_failed = 0;
  struct sigaction m_oldInterrupt{}, m_oldTerminate{};
};

}  // namespace quill::cli
