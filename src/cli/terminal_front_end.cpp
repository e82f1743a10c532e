// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/terminal_front_end.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

#include "cli/session.h"

namespace quill::cli {

namespace {

constexpr int kTickMs = 200;

// Columns of the terminal on standard error.
size_t TerminalWidth() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

}  // namespace

CTerminalFrontEnd::CTerminalFrontEnd(std::vector<TDXSelectedFolder> folders)
    : m_folders(std::move(folders)), m_terminal(isatty(STDERR_FILENO) == 1) {
  QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
    if (m_tick) m_tick();
  });
}

void CTerminalFrontEnd::SetTimer(bool on) {
  if (on)
    m_timer.start(kTickMs);
  else
    m_timer.stop();
}

void CTerminalFrontEnd::ShowThreads(ScanButton button) {
  // All folders are queued before the loop runs: an idle pool is the end.
  if (button == ScanButton::kScan) QCoreApplication::exit(0);
}

void CTerminalFrontEnd::ShowProgress(const ProgressDisplay& progress) {
  if (!m_terminal) return;
  const std::string found = m_found ? m_found() : std::string();
  std::string line = std::to_string(progress.processed) + "/" + std::to_string(progress.scheduled) +
                     " files" + (found.empty() ? "" : ", " + found);
  if (!progress.stopped.empty()) line = progress.stopped;
  if (!progress.text.empty()) line += ", " + progress.text;
  const size_t width = TerminalWidth();
  if (line.size() >= width) line.resize(width - 1);
  std::fprintf(stderr, "\r%s\033[K", line.c_str());
  std::fflush(stderr);
  m_lineShown = true;
}

void CTerminalFrontEnd::ClearProgressLine() {
  if (!std::exchange(m_lineShown, false)) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

void CTerminalFrontEnd::ShowAlert(const std::string& title, const std::string& text) {
  ClearProgressLine();
  Complain(title + ": " + text);
}

}  // namespace quill::cli
