// SPDX-License-Identifier: GPL-3.0-or-later
// The sums of vector_ops.h, in double lanes, the greatest value, and the magnitudes of a spectrum.
#include <algorithm>
#include <cmath>

#include "signal/vector_check.h"
#include "signal/vector_ops.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "signal/reductions.cpp"
#include <hwy/foreach_target.h>
// The macros of each target follow.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quill::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// The sum of op(src[i]). Two chains of additions hide their latency.
template <class Op>
double SumOf(const float* HWY_RESTRICT src, size_t n, Op op) {
  const hn::ScalableTag<double> d;
  const hn::Rebind<float, decltype(d)> half;
  const size_t lanes = hn::Lanes(d);
  auto even = hn::Zero(d);
  auto odd = hn::Zero(d);
  size_t i = 0;
  for (; i + 2 * lanes <= n; i += 2 * lanes) {
    even = hn::Add(even, op(d, hn::PromoteTo(d, hn::LoadU(half, src + i))));
    odd = hn::Add(odd, op(d, hn::PromoteTo(d, hn::LoadU(half, src + i + lanes))));
  }
  double sum = hn::GetLane(hn::SumOfLanes(d, hn::Add(even, odd)));
  const hn::CappedTag<double, 1> one;
  for (; i < n; ++i) sum += hn::GetLane(op(one, hn::Set(one, src[i])));
  return sum;
}

double Sum(const float* src, size_t n) {
  return SumOf(src, n, [](auto, auto x) HWY_ATTR { return x; });
}

double SumAbsolute(const float* src, size_t n) {
  return SumOf(src, n, [](auto, auto x) HWY_ATTR { return hn::Abs(x); });
}

double SumSquaresAbout(const float* src, size_t n, double centre) {
  return SumOf(src, n, [centre](auto d, auto x) HWY_ATTR {
    const auto distance = hn::Sub(x, hn::Set(d, centre));
    return hn::Mul(distance, distance);
  });
}

float Greatest(const float* HWY_RESTRICT src, size_t n) {
  const hn::ScalableTag<float> d;
  const size_t lanes = hn::Lanes(d);
  float greatest = src[0];
  size_t i = 0;
  if (n >= lanes) {
    auto best = hn::LoadU(d, src);
    for (i = lanes; i + lanes <= n; i += lanes) best = hn::Max(best, hn::LoadU(d, src + i));
    greatest = hn::GetLane(hn::MaxOfLanes(d, best));
  }
  for (; i < n; ++i) greatest = std::max(greatest, src[i]);
  return greatest;
}

void Magnitudes(const float* HWY_RESTRICT src, float* HWY_RESTRICT dst, size_t count) {
  const hn::ScalableTag<float> d;
  const size_t lanes = hn::Lanes(d);
  size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    hn::Vec<decltype(d)> re, im;
    hn::LoadInterleaved2(d, src + 2 * i, re, im);
    hn::StoreU(hn::Sqrt(hn::MulAdd(re, re, hn::Mul(im, im))), d, dst + i);
  }
  for (; i < count; ++i)
    dst[i] = std::sqrt(src[2 * i] * src[2 * i] + src[2 * i + 1] * src[2 * i + 1]);
}

}  // namespace
}  // namespace quill::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quill {

HWY_EXPORT(Sum);
HWY_EXPORT(SumAbsolute);
HWY_EXPORT(SumSquaresAbout);
HWY_EXPORT(Greatest);
HWY_EXPORT(Magnitudes);

VecStatus VecSum(const float* src, int32_t n, float* sum) {
  if (const VecStatus status = CheckVectors(n, src, sum)) return status;
  *sum = static_cast<float>(HWY_DYNAMIC_DISPATCH(Sum)(src, n));
  return kVecOk;
}

VecStatus VecMean(const float* src, int32_t n, float* mean) {
  if (const VecStatus status = CheckVectors(n, src, mean)) return status;
  *mean = static_cast<float>(HWY_DYNAMIC_DISPATCH(Sum)(src, n) / n);
  return kVecOk;
}

VecStatus VecMeanDev(const float* src, int32_t n, float* mean, float* deviation) {
  if (const VecStatus status = CheckVectors(n, src, mean, deviation)) return status;
  const double centre = HWY_DYNAMIC_DISPATCH(Sum)(src, n) / n;
  const double squares = HWY_DYNAMIC_DISPATCH(SumSquaresAbout)(src, n, centre);
  *mean = static_cast<float>(centre);
  *deviation = n > 1 ? static_cast<float>(std::sqrt(squares / (n - 1))) : 0.0f;
  return kVecOk;
}

VecStatus VecMax(const float* src, int32_t n, float* max) {
  if (const VecStatus status = CheckVectors(n, src, max)) return status;
  *max = HWY_DYNAMIC_DISPATCH(Greatest)(src, n);
  return kVecOk;
}

VecStatus VecNormL1(const float* src, int32_t n, float* norm) {
  if (const VecStatus status = CheckVectors(n, src, norm)) return status;
  *norm = static_cast<float>(HWY_DYNAMIC_DISPATCH(SumAbsolute)(src, n));
  return kVecOk;
}

VecStatus ComplexMagnitude(const float* src, float* dst, int32_t count) {
  if (const VecStatus status = CheckVectors(count, src, dst)) return status;
  HWY_DYNAMIC_DISPATCH(Magnitudes)(src, dst, count);
  return kVecOk;
}

}  // namespace quill
#endif
