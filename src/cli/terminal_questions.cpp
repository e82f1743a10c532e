// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/terminal_questions.h"

#include <cstdio>
#include <iostream>

#include "cli/safe_text.h"
#include "cli/session.h"

namespace quill::cli {

namespace {

volatile std::sig_atomic_t s_interrupted = 0;

void Interrupt(int) {
  s_interrupted = 1;
}

}  // namespace

CTerminalQuestions::CTerminalQuestions() {
  struct sigaction action{};
  action.sa_handler = Interrupt;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  sigaction(SIGINT, &action, &m_oldInterrupt);
  sigaction(SIGTERM, &action, &m_oldTerminate);
}

CTerminalQuestions::~CTerminalQuestions() {
  sigaction(SIGINT, &m_oldInterrupt, nullptr);
  sigaction(SIGTERM, &m_oldTerminate, nullptr);
}

bool CTerminalQuestions::Ask(const std::string& question) {
  std::fprintf(stderr, "%s [y/N] ", question.c_str());
  std::fflush(stderr);
  std::string answer;
  const bool answered = static_cast<bool>(std::getline(std::cin, answer));
  if (!answered) std::fputc('\n', stderr);
  return answered && (answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes");
}

bool CTerminalQuestions::Perform(const std::string&, size_t, size_t,
                                 const std::function<void()>& work) {
  if (Interrupted()) return false;
  work();
  ++m_handled;
  return true;
}

void CTerminalQuestions::Finished(const std::vector<std::string>& failures) {
  m_failed += failures.size();
  for (const std::string& failure : failures) Complain(TerminalText(failure));
}

bool CTerminalQuestions::Interrupted() {
  return s_interrupted != 0;
}

}  // namespace quill::cli
