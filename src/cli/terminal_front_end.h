// SPDX-License-Identifier: GPL-3.0-or-later
// The front end of a scan in a terminal: the folders of the command line in, a progress line on
// standard error out. Ends the event loop when the scan has come to its end. Main thread.
#pragma once

#include <QCoreApplication>
#include <QTimer>
#include <functional>
#include <string>
#include <vector>

#include "app/front_end.h"

namespace quill::cli {

class CTerminalFrontEnd : public CFrontEnd {
 public:
  explicit CTerminalFrontEnd(std::vector<TDXSelectedFolder> folders);

  // What the timer calls; set before a scan starts.
  std::function<void()> m_tick;
  // What has been found so far, for the progress line; may be empty.
  std::function<std::string()> m_found;

  // Takes the progress line off the terminal, before other output.
  void ClearProgressLine();

  [[nodiscard]] bool HasSelection() const override { return !m_folders.empty(); }
  [[nodiscard]] std::vector<TDXSelectedFolder> UnloadList() override { return m_folders; }
  void SetTimer(bool on) override;
  void ShowThreads(ScanButton button) override;
  void ShowProgress(const ProgressDisplay& progress) override;
  void ReloadView(ResultsTab) override {}
  void ShowBadge(uint32_t) override {}
  [[nodiscard]] bool IsActive() const override { return true; }
  void RequestAttention() override {}
  void ShowAlert(const std::string& title, const std::string& text) override;

 private:
  const std::vector<TDXSelectedFolder> m_folders;
  const bool m_terminal;  // standard error is one
  bool m_lineShown = false;
  QTimer m_timer;
};

}  // namespace quill::cli
