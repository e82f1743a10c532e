// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_prints.h"

#include <cmath>

namespace quill {

void CImageQuadrant::Assign(std::span<const uint8_t> values) {
  m_values.assign(values.begin(), values.end());
  m_sum = 0;
  int64_t squares = 0;
  for (const int64_t value : m_values) {
    m_sum += value;
    squares += value * value;
  }
  const auto n = static_cast<int64_t>(m_values.size());
  m_deviation = std::sqrt(static_cast<double>(n * squares - m_sum * m_sum));
}

}  // namespace quill
