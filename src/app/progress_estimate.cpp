// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/progress_estimate.h"

#include <cstdlib>

namespace quill {

namespace {

constexpr int32_t kLeastElapsed = 11;       // seconds
constexpr int32_t kLeastFinished = 3;       // files
constexpr double kLongestShown = 864000.0;  // seconds: ten days
constexpr int32_t kRise = 31;               // seconds
constexpr uint32_t kDay = 86400;            // seconds

}  // namespace

void CProgressEstimate::Tick(int32_t now, bool active, int32_t processed, int32_t scheduled) {
  m_progress =
      scheduled == 0 ? 0.0F : static_cast<float>(processed) / static_cast<float>(scheduled);
  if (!active) {
    m_statTime = m_statCount = m_statValue = 0;
    m_text.clear();
    return;
  }
  if (m_statTime == 0) {
    m_statTime = now;
    m_statCount = processed;
  }
  const int32_t elapsed = now - m_statTime;
  const int32_t finished = processed - m_statCount;
  if (elapsed < kLeastElapsed || finished < kLeastFinished) return;

  const double remaining = static_cast<double>(scheduled - processed) * elapsed / finished;
  // Also keeps a negative value, possible while files are taken off the totals, out of the text.
  if (remaining >= kLongestShown || remaining < 0) return;
  const auto estimate = static_cast<int32_t>(remaining);
  const bool keep = m_statValue != 0 && estimate >= m_statValue && estimate - m_statValue < kRise;
  if (!keep) m_statValue = estimate;
  m_text = "Estimated Time Remaining: " + RemainingText(static_cast<uint32_t>(m_statValue));
}

std::string HowFarText(int32_t processed, int32_t total, bool foldersLeft) {
  return std::to_string(processed) + (foldersLeft ? " of at least " : " of ") +
         std::to_string(total) + (total == 1 ? " file" : " files");
}

std::string RemainingText(uint32_t seconds) {
  std::string text;
  const uint32_t hours = seconds / 3600 % 24;
  const bool days = seconds >= kDay;
  if (days) text += std::to_string(seconds / kDay) + "d ";
  if (days || hours >= 1) text += std::to_string(hours) + "h ";
  return text + std::to_string(seconds / 60 % 60) + "m " + std::to_string(seconds % 60) + "s";
}

}  // namespace quill
