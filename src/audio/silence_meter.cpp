// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/silence_meter.h"

#include <algorithm>
#include <cmath>

#include "audio/sample_scan.h"

namespace quill {
namespace {

constexpr size_t kRun = 512;         // samples that are judged at once where they can be
constexpr double kFirstRatio = 100;  // older span to newer, at the first judgement
constexpr double kRatio = 10;        // and at all later ones

}  // namespace

CSilenceMeter::CSilenceMeter(uint32_t sampleRate)
    : m_span(size_t{sampleRate} * 5),
      m_quietLimit(static_cast<double>(static_cast<float>(sampleRate) * 0.01f * 5)) {}

void CSilenceMeter::Add(const float* samples, size_t count) {
  size_t done = Fill(samples, count);
  while (done < count) {
    const size_t toBorder = m_span - m_place % m_span;
    const size_t run = std::min({count - done, toBorder, kRun});
    Slide(samples + done, run);
    done += run;
  }
}

size_t CSilenceMeter::Fill(const float* samples, size_t count) {
  const size_t held = m_levels.size();
  const size_t taken = std::min(count, 2 * m_span - held);
  if (taken == 0) return 0;
  // Grows with the sound, as a short file needs little, and never past the two spans.
  if (held + taken > m_levels.capacity())
    m_levels.reserve(std::min(2 * m_span, std::max(held + taken, 2 * held)));
  m_levels.resize(held + taken);
  for (size_t i = 0; i < taken; ++i) m_levels[held + i] = std::fabs(samples[i]);
  if (m_levels.size() == 2 * m_span) {
    SumAnew();
    Judge(m_second < m_quietLimit || m_first / m_second > kFirstRatio);
  }
  return taken;
}

void CSilenceMeter::Slide(const float* samples, size_t count) {
  float* const leaving = m_levels.data() + m_place;
  const float* const crossing = m_levels.data() + (m_place + m_span) % (2 * m_span);
  const LevelSums sums = SumLevels(samples, crossing, leaving, count);
  const double secondLeast = m_second - sums.crossing;
  const double secondMost = m_second + sums.entering;
  const double firstLeast = m_first - sums.leaving;
  const double firstMost = m_first + sums.crossing;
  const bool allQuiet = secondMost < m_quietLimit || firstLeast > kRatio * secondMost;
  const bool noneQuiet = secondLeast >= m_quietLimit && firstMost <= kRatio * secondLeast;
  if (allQuiet || noneQuiet) {
    Judge(allQuiet);
  } else {
    JudgeEach(samples, count);
  }
  m_first += sums.crossing - sums.leaving;
  m_second += sums.entering - sums.crossing;
  for (size_t i = 0; i < count; ++i) leaving[i] = std::fabs(samples[i]);
  m_place = (m_place + count) % (2 * m_span);
  if (m_place % m_span == 0) SumAnew();
}

void CSilenceMeter::JudgeEach(const float* samples, size_t count) {
  const float* const leaving = m_levels.data() + m_place;
  const float* const crossing = m_levels.data() + (m_place + m_span) % (2 * m_span);
  double first = m_first;
  double second = m_second;
  for (size_t i = 0; i < count; ++i) {
    first += static_cast<double>(crossing[i]) - static_cast<double>(leaving[i]);
    second += static_cast<double>(std::fabs(samples[i])) - static_cast<double>(crossing[i]);
    Judge(second < m_quietLimit || first > kRatio * second);
  }
}

void CSilenceMeter::SumAnew() {
  const float* const older = m_levels.data() + m_place;
  const float* const newer = m_levels.data() + (m_place + m_span) % (2 * m_span);
  const LevelSums sums = SumLevels(older, newer, older, m_span);
  m_first = sums.leaving;
  m_second = sums.crossing;
}

void CSilenceMeter::Judge(bool quiet) {
  if (quiet) {
    if (m_state == State::kSound) m_state = State::kSilence;
    return;
  }
  if (m_state == State::kSilence) ++m_silences;
  m_state = State::kSound;
}

}  // namespace quill
