// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/sonogram_builder.h"

#include <utility>

namespace quill {

void CSonogramBuilder::Begin(const Run& run) {
  m_fresh = {};
  m_fresh.valuesLen = run.bins;
  m_fresh.step = run.hop;
  m_fresh.sampleRate = run.sampleRate;
}

void CSonogramBuilder::TakeFrame(size_t channel, const float* magnitudes) {
  CFloatVector& values = m_fresh.values[channel];
  values.insert(values.end(), magnitudes, magnitudes + m_fresh.valuesLen);
}

bool CSonogramBuilder::Publish(const Run& run) {
  if (m_fresh.values[0].empty()) return false;
  for (CFloatVector& values : m_fresh.values) {
    for (size_t begin = 0; begin + run.bins <= values.size(); begin += run.bins)
      for (size_t bin = 0; bin < run.bins; ++bin) values[begin + bin] /= Scale(run, bin);
  }
  m_shown.Show(std::exchange(m_fresh, {}));
  return true;
}

}  // namespace quill
