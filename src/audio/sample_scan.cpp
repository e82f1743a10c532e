// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/sample_scan.h"

#include <algorithm>
#include <cmath>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/sample_scan.cpp"
#include <hwy/foreach_target.h>
// The macros of each target follow.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quill::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<float>;
using DD = hn::ScalableTag<double>;
using Half = hn::Rebind<float, DD>;

// Adds floats up as doubles. Two chains of additions hide their latency.
class CWideSum {
 public:
  HWY_INLINE CWideSum() : m_next(hn::Zero(DD())), m_other(hn::Zero(DD())) {}
  template <class V>
  HWY_INLINE void Add(V values) {
    const auto sum = hn::Add(m_next, hn::PromoteTo(DD(), values));
    m_next = m_other;
    m_other = sum;
  }
  HWY_INLINE double Total() const {
    return hn::GetLane(hn::SumOfLanes(DD(), hn::Add(m_next, m_other)));
  }

 private:
  hn::Vec<DD> m_next;
  hn::Vec<DD> m_other;
};

SampleScan Scan(const float* HWY_RESTRICT samples, size_t count, float previous,
                float* HWY_RESTRICT peaks) {
  constexpr float kNone = std::numeric_limits<float>::infinity();
  const D d;
  const Half half;
  const size_t lanes = hn::Lanes(d);
  const auto none = hn::Set(d, kNone);
  auto least = none;
  CWideSum wide;
  SampleScan scan{0, kNone};
  size_t i = 0;
  const auto one = [&](float* peak) {
    const float step = std::fabs(samples[i] - previous);
    if (step != 0) scan.leastStep = std::min(scan.leastStep, step);
    *peak = std::max(*peak, std::fabs(samples[i]));
    scan.sum += static_cast<double>(samples[i]);
    previous = samples[i++];
  };
  for (size_t block = 0; block * kPeakBlock < count; ++block) {
    const size_t end = std::min(count, (block + 1) * kPeakBlock);
    auto high = hn::Zero(d);
    float peak = 0;
    if (i == 0) one(&peak);
    for (; i + lanes <= end; i += lanes) {
      const auto x = hn::LoadU(d, samples + i);
      const auto step = hn::Abs(hn::Sub(x, hn::LoadU(d, samples + i - 1)));
      least = hn::Min(least, hn::IfThenElse(hn::Eq(step, hn::Zero(d)), none, step));
      high = hn::Max(high, hn::Abs(x));
      for (size_t part = 0; part < lanes; part += hn::Lanes(half))
        wide.Add(hn::LoadU(half, samples + i + part));
    }
    if (i != 0) previous = samples[i - 1];
    while (i < end) one(&peak);
    peaks[block] = std::max(peak, hn::GetLane(hn::MaxOfLanes(d, high)));
  }
  scan.sum += wide.Total();
  scan.leastStep = std::min(scan.leastStep, hn::GetLane(hn::MinOfLanes(d, least)));
  return scan;
}

LevelSums Levels(const float* HWY_RESTRICT samples, const float* HWY_RESTRICT crossing,
                 const float* HWY_RESTRICT leaving, size_t count) {
  const Half half;
  const size_t lanes = hn::Lanes(half);
  CWideSum in, middle, out;
  size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    in.Add(hn::Abs(hn::LoadU(half, samples + i)));
    middle.Add(hn::LoadU(half, crossing + i));
    out.Add(hn::LoadU(half, leaving + i));
  }
  LevelSums sums{in.Total(), middle.Total(), out.Total()};
  for (; i < count; ++i) {
    sums.entering += static_cast<double>(std::fabs(samples[i]));
    sums.crossing += static_cast<double>(crossing[i]);
    sums.leaving += static_cast<double>(leaving[i]);
  }
  return sums;
}

}  // namespace
}  // namespace quill::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quill {

HWY_EXPORT(Scan);
HWY_EXPORT(Levels);

SampleScan ScanSamples(const float* samples, size_t count, float previous, float* peaks) {
  return HWY_DYNAMIC_DISPATCH(Scan)(samples, count, previous, peaks);
}

LevelSums SumLevels(const float* samples, const float* crossing, const float* leaving,
                    size_t count) {
  return HWY_DYNAMIC_DISPATCH(Levels)(samples, crossing, leaving, count);
}

}  // namespace quill
#endif
