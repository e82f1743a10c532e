// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/bark_builder.h"

#include <cmath>

#include "signal/correlation.h"
#include "signal/vector_ops.h"

namespace quill {

CBarkBuilder::CBarkBuilder(size_t frame, size_t block, Series* out)
    : m_frame(frame),
      m_block(block),
      m_bands(BinsOfBands(kBarkEdges, frame)),
      m_out(out),
      m_frames(block, CFloatVector(frame)),
      m_sums(block + 1, Sum{CFloatVector(frame), {}, {}}) {
  for (CFloatVector& series : *out) series.clear();
}

bool CBarkBuilder::Add(const float* magnitudes) {
  const auto n = static_cast<int32_t>(m_frame);
  const size_t index = m_count++;
  CFloatVector& oldest = m_frames[index % m_block];
  if (index < m_block) {
    if (VecAddInPlace(magnitudes, m_sums[0].values.data(), n) != kVecOk) return false;
    if (index + 1 == m_block && !Measure(m_sums.data())) return false;
  } else {
    const size_t first = index + 1 - m_block;  // frame of the new sum
    const Sum& before = m_sums[(first - 1) % m_sums.size()];
    Sum& sum = m_sums[first % m_sums.size()];
    // The older frame leaves before the new one enters: the rounding is part of the print.
    if (VecSub(oldest.data(), before.values.data(), sum.values.data(), n) != kVecOk ||
        VecAddInPlace(magnitudes, sum.values.data(), n) != kVecOk || !Measure(&sum))
      return false;
    if (first >= m_block && !Compare(m_sums[(first - m_block) % m_sums.size()], sum)) return false;
  }
  return VecCopy(magnitudes, oldest.data(), n) == kVecOk;
}

bool CBarkBuilder::Measure(Sum* sum) const {
  for (size_t band = 0; band < m_bands.size(); ++band) {
    const BandBins bins = m_bands[band];
    const auto n = static_cast<int32_t>(bins.end - bins.begin);
    float deviation = 0;
    if (VecMeanDev(sum->values.data() + bins.begin, n, &sum->mean[band], &deviation) != kVecOk)
      return false;
    // From the sample deviation to that of the whole.
    sum->invdev[band] =
        deviation > 1e-6F ? std::sqrt(static_cast<float>(n) / static_cast<float>(n - 1)) / deviation
                          : deviation;
  }
  return true;
}

bool CBarkBuilder::Compare(const Sum& earlier, const Sum& later) {
  for (size_t band = 0; band < m_bands.size(); ++band) {
    const BandBins bins = m_bands[band];
    const auto n = static_cast<int32_t>(bins.end - bins.begin);
    float product = 0;
    if (CrossCorr(earlier.values.data() + bins.begin, n, later.values.data() + bins.begin, n,
                  &product, 1) != kVecOk)
      return false;
    (*m_out)[band].push_back(
        (product / static_cast<float>(n) - earlier.mean[band] * later.mean[band]) *
        earlier.invdev[band] * later.invdev[band]);
  }
  return true;
}

}  // namespace quill
