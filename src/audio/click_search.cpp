// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/click_search.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "signal/vector_ops.h"

namespace quill {
namespace {

constexpr float kStandsOut = 30;
constexpr float kLeastLevel = 1e-6f;  // of the surroundings

bool StandsOut(float middle, float before, float behind) {
  return middle / std::max(kLeastLevel, std::max(before, behind)) > kStandsOut;
}

float MaxOf(const float* values, size_t count) {
  float max = 0;
  (void)VecMax(values, static_cast<int32_t>(count), &max);
  return max;
}

// maxima[k] = the greatest of values[k .. k + width), for k below `span`, which is at most `width`.
void SlidingMax(const float* values, size_t width, size_t span, float* maxima) {
  float max = MaxOf(values + span - 1, width - span + 1);
  maxima[span - 1] = max;
  for (size_t k = span - 1; k-- > 0;) maxima[k] = max = std::max(max, values[k]);
  max = 0;
  for (size_t k = 1; k < span; ++k) {
    max = std::max(max, values[width + k - 1]);
    maxima[k] = std::max(maxima[k], max);
  }
}

}  // namespace

void CClickSearch::Add(const float* samples, size_t count) {
  Append(samples, count);
  size_t place = 0;
  while (place + kWindow <= m_values.size()) {
    const size_t span = std::min(kMostSpan, m_values.size() - kWindow - place + 1);
    const float* const values = m_values.data() + place;
    place += MayHoldClick(values, span) ? Search(values, span) : span;
  }
  m_values.erase(m_values.begin(), m_values.begin() + static_cast<ptrdiff_t>(place));
}

void CClickSearch::Append(const float* samples, size_t count) {
  const size_t held = m_values.size();
  m_values.resize(held + count);
  float* const values = m_values.data() + held;
  const auto value = [](float now, float last, float beforeLast) {
    return std::fabs(now + beforeLast - 2 * last);
  };
  for (size_t i = 0; i < std::min<size_t>(count, 2); ++i) {
    values[i] = value(samples[i], m_last, m_beforeLast);
    m_beforeLast = m_last;
    m_last = samples[i];
  }
  if (count <= 2) return;
  for (size_t i = 2; i < count; ++i) values[i] = value(samples[i], samples[i - 1], samples[i - 2]);
  m_last = samples[count - 1];
  m_beforeLast = samples[count - 2];
}

bool CClickSearch::MayHoldClick(const float* values, size_t span) {
  const size_t shared = kSide - span + 1;
  return StandsOut(MaxOf(values + kSide, kMiddle + span - 1), MaxOf(values + span - 1, shared),
                   MaxOf(values + kSide + kMiddle + span - 1, shared));
}

size_t CClickSearch::Search(const float* values, size_t span) {
  Maxima before, middle, behind;
  SlidingMax(values, kSide, span, before.data());
  SlidingMax(values + kSide + kMiddle, kSide, span, behind.data());
  for (size_t k = 0; k < span; k += kMiddle)
    SlidingMax(values + kSide + k, kMiddle, std::min(kMiddle, span - k), middle.data() + k);
  for (size_t k = 0; k < span; ++k) {
    if (!StandsOut(middle[k], before[k], behind[k])) continue;
    ++m_clicks;
    return k + kMiddle;
  }
  return span;
}

}  // namespace quill
