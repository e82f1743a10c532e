// SPDX-License-Identifier: GPL-3.0-or-later
// The arithmetic of the progress display: share done and estimated time remaining. The rate is the
// mean since the first tick of the scan. An estimate drops at once but rises only in steps of 31
// seconds or more, so that the text does not flicker. Main thread.
#pragma once

#include <cstdint>
#include <string>

namespace quill {

class CProgressEstimate {
 public:
  // One tick at `now` (seconds). With `active` false (paused, stopping, nothing pending) the sample
  // and the text are dropped.
  void Tick(int32_t now, bool active, int32_t processed, int32_t scheduled);

  // processed / scheduled, 0 with nothing scheduled.
  [[nodiscard]] float Progress() const { return m_progress; }
  // "Estimated Time Remaining: " and the duration, or empty.
  [[nodiscard]] const std::string& Text() const { return m_text; }

 private:
  float m_progress = 0;
  std::string m_text;
  int32_t m_statTime = 0;   // start of the sample, seconds; 0 = none
  int32_t m_statCount = 0;  // files processed at m_statTime
  int32_t m_statValue = 0;  // estimate on show, seconds; 0 = none
};

// How far a scan came: "30 of 57 files", or "30 of at least 57 files" with folders not listed yet.
[[nodiscard]] std::string HowFarText(int32_t processed, int32_t total, bool foldersLeft);

// "1d 2h 3m 4s": days and hours only when needed, no leading zeros.
[[nodiscard]] std::string RemainingText(uint32_t seconds);

}  // namespace quill
