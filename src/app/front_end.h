// SPDX-License-Identifier: GPL-3.0-or-later
// What the application controller needs of a front end: the window and the command line implement
// it. All calls happen on the main thread. Nothing here decides anything about a scan.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quill {

// A folder that the user chose, and the group (1 to 4, 0 for none) that gates comparison: files of
// one group are never compared with each other.
struct TDXSelectedFolder {
  std::string path;
  uint8_t groupId = 0;
};

// The tables by their place in the window.
enum class ResultsTab : int32_t {
  kFolders = 0,
  kAudioDups = 1,
  kImageDups = 2,
  kAudioAnalysis = 3
};

// State of the one button: what a press would do.
enum class ScanButton { kScan, kPause, kContinue };

struct ProgressDisplay {
  uint32_t cacheCount = 0;  // items in all caches
  int32_t processed = 0;
  int32_t scheduled = 0;  // those that a stop dropped included
  float progress = 0;     // 0 to 1
  std::string text;       // time remaining, or empty
  std::string stopped;    // "Stopped: 30 of 57 files" until the next scan begins, or empty
};

class CFrontEnd {
 public:
  virtual ~CFrontEnd() = default;

  // Whether there is any folder to scan.
  [[nodiscard]] virtual bool HasSelection() const = 0;
  // The folders to scan; also stores the list, where the front end keeps one.
  [[nodiscard]] virtual std::vector<TDXSelectedFolder> UnloadList() = 0;
  // Starts or ends a timer that calls TDXAppDelegate::TimerUpdate every 0.2 seconds.
  virtual void SetTimer(bool on) = 0;
  virtual void ShowThreads(ScanButton button) = 0;
  virtual void ShowProgress(const ProgressDisplay& progress) = 0;
  // The rows of a table have changed.
  virtual void ReloadView(ResultsTab tab) = 0;
  // Number of groups over both duplicates tables; 0 removes the badge.
  virtual void ShowBadge(uint32_t count) = 0;
  // A scan ended while the application was in the background.
  [[nodiscard]] virtual bool IsActive() const = 0;
  virtual void RequestAttention() = 0;
  virtual void ShowAlert(const std::string& title, const std::string& text) = 0;
};

}  // namespace quill
