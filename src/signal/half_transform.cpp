// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/half_transform.h"

#include <cmath>
#include <numbers>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "signal/half_transform.cpp"
#include <hwy/foreach_target.h>
// The macros of each target follow.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quill::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// With Z the transform of the pairs, E and O those of the samples of even and of odd place, and
// M = N / 2: Z[k] = E + iO and conj(Z[M - k]) = E - iO, and the real transform has E + wO at k and
// conj(E - wO) at M - k, where w is the turn by -2 pi k / N. Everything here is twice that.
template <class DF>
void Pairs(DF d, const float* HWY_RESTRICT packed, const float* HWY_RESTRICT turns, size_t half,
           size_t* place, float* HWY_RESTRICT magnitudes) {
  const size_t lanes = hn::Lanes(d);
  const float* HWY_RESTRICT cosines = turns;
  const float* HWY_RESTRICT sines = turns + half / 2 + 1;
  const auto scale = hn::Set(d, 0.5f);
  size_t k = *place;
  for (; k + lanes <= half / 2; k += lanes) {
    const size_t mirror = half - k - lanes + 1;
    hn::Vec<DF> re, im, mirrorRe, mirrorIm;
    hn::LoadInterleaved2(d, packed + 2 * k, re, im);
    hn::LoadInterleaved2(d, packed + 2 * mirror, mirrorRe, mirrorIm);
    mirrorRe = hn::Reverse(d, mirrorRe);
    mirrorIm = hn::Reverse(d, mirrorIm);
    const auto evenRe = hn::Add(re, mirrorRe);
    const auto evenIm = hn::Sub(im, mirrorIm);
    const auto oddRe = hn::Add(im, mirrorIm);
    const auto oddIm = hn::Sub(mirrorRe, re);
    const auto c = hn::LoadU(d, cosines + k);
    const auto s = hn::LoadU(d, sines + k);
    const auto turnedRe = hn::MulAdd(c, oddRe, hn::Mul(s, oddIm));
    const auto turnedIm = hn::MulSub(c, oddIm, hn::Mul(s, oddRe));
    const auto length = [&](auto x, auto y) HWY_ATTR {
      return hn::Mul(scale, hn::Sqrt(hn::MulAdd(x, x, hn::Mul(y, y))));
    };
    hn::StoreU(length(hn::Add(evenRe, turnedRe), hn::Add(evenIm, turnedIm)), d, magnitudes + k);
    hn::StoreU(hn::Reverse(d, length(hn::Sub(evenRe, turnedRe), hn::Sub(evenIm, turnedIm))), d,
               magnitudes + mirror);
  }
  *place = k;
}

void Magnitudes(const float* HWY_RESTRICT packed, const float* HWY_RESTRICT turns, size_t size,
                float* HWY_RESTRICT magnitudes) {
  const size_t half = size / 2;
  magnitudes[0] = std::fabs(packed[0] + packed[1]);
  magnitudes[half] = std::fabs(packed[0] - packed[1]);
  magnitudes[half / 2] = std::hypot(packed[half], packed[half + 1]);
  size_t place = 1;
  Pairs(hn::ScalableTag<float>(), packed, turns, half, &place, magnitudes);
  Pairs(hn::CappedTag<float, 1>(), packed, turns, half, &place, magnitudes);
}

}  // namespace
}  // namespace quill::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quill {

HWY_EXPORT(Magnitudes);

CFloatVector HalfTransformTurns(size_t size) {
  const size_t count = size / 4 + 1;
  CFloatVector turns(2 * count);
  for (size_t k = 0; k < count; ++k) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(size);
    turns[k] = static_cast<float>(std::cos(angle));
    turns[count + k] = static_cast<float>(std::sin(angle));
  }
  return turns;
}

void MagnitudesOfHalf(const float* packed, const float* turns, size_t size, float* magnitudes) {
  HWY_DYNAMIC_DISPATCH(Magnitudes)(packed, turns, size, magnitudes);
}

}  // namespace quill
#endif
