// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/correlation.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "core/system_error.h"
#include "signal/vector_check.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "signal/correlation.cpp"
#include <hwy/foreach_target.h>
// The macros of each target follow.
#include <hwy/highway.h>

#ifndef QUILL_SIGNAL_CORRELATION_ONCE
#define QUILL_SIGNAL_CORRELATION_ONCE
namespace quill {
namespace {

// Sums about the first value of either vector, so that a constant one has exactly none.
struct Moments {
  double x = 0, xx = 0, y = 0, yy = 0, xy = 0;

  void Add(double dx, double dy) {
    x += dx;
    xx += dx * dx;
    y += dy;
    yy += dy * dy;
    xy += dx * dy;
  }
};

// Work is cut into pieces of this many offsets and pattern values, whose buffers lie on the stack.
constexpr size_t kPiece = 512;
constexpr size_t kPieceBytes = 2 * kPiece + 64;

}  // namespace
}  // namespace quill
#endif

HWY_BEFORE_NAMESPACE();
namespace quill::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

float Dot(const float* HWY_RESTRICT x, const float* HWY_RESTRICT y, size_t n) {
  const hn::ScalableTag<float> d;
  const size_t lanes = hn::Lanes(d);
  auto sum0 = hn::Zero(d), sum1 = sum0, sum2 = sum0, sum3 = sum0;
  size_t i = 0;
  for (; i + 4 * lanes <= n; i += 4 * lanes) {
    const auto term = [&](size_t k, auto sum) HWY_ATTR {
      const size_t at = i + k * lanes;
      return hn::MulAdd(hn::LoadU(d, x + at), hn::LoadU(d, y + at), sum);
    };
    sum0 = term(0, sum0);
    sum1 = term(1, sum1);
    sum2 = term(2, sum2);
    sum3 = term(3, sum3);
  }
  for (; i + lanes <= n; i += lanes)
    sum0 = hn::MulAdd(hn::LoadU(d, x + i), hn::LoadU(d, y + i), sum0);
  float dot = hn::GetLane(hn::SumOfLanes(d, hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3))));
  for (; i < n; ++i) dot += x[i] * y[i];
  return dot;
}

void SlideFloats(const float* a, size_t lengthA, const float* b, size_t lengthB, float* dst,
                 size_t outLength) {
  for (size_t k = 0; k < outLength; ++k)
    dst[k] = k < lengthB ? Dot(a, b + k, std::min(lengthA, lengthB - k)) : 0.0f;
}

Moments MomentsOf(const float* HWY_RESTRICT x, const float* HWY_RESTRICT y, size_t n) {
  const hn::ScalableTag<double> d;
  const hn::Rebind<float, decltype(d)> half;
  const size_t lanes = hn::Lanes(d);
  const auto firstX = hn::Set(d, x[0]), firstY = hn::Set(d, y[0]);
  auto sumX = hn::Zero(d), sumXX = sumX, sumY = sumX, sumYY = sumX, sumXY = sumX;
  size_t i = 0;
  for (; i + lanes <= n; i += lanes) {
    const auto dx = hn::Sub(hn::PromoteTo(d, hn::LoadU(half, x + i)), firstX);
    const auto dy = hn::Sub(hn::PromoteTo(d, hn::LoadU(half, y + i)), firstY);
    sumX = hn::Add(sumX, dx);
    sumXX = hn::MulAdd(dx, dx, sumXX);
    sumY = hn::Add(sumY, dy);
    sumYY = hn::MulAdd(dy, dy, sumYY);
    sumXY = hn::MulAdd(dx, dy, sumXY);
  }
  const auto total = [&](auto sum) HWY_ATTR { return hn::GetLane(hn::SumOfLanes(d, sum)); };
  Moments moments{total(sumX), total(sumXX), total(sumY), total(sumYY), total(sumXY)};
  for (; i < n; ++i) moments.Add(double{x[i]} - x[0], double{y[i]} - y[0]);
  return moments;
}

// Byte products. A 32-bit lane holds kTaps successive values of the series, lane k those from k on,
// so that one instruction adds kTaps products at as many offsets as there are lanes.
using D32 = hn::ScalableTag<int32_t>;
using V32 = hn::Vec<D32>;

#if HWY_TARGET == HWY_AVX3_DL
// The instruction takes signed bytes on one side only: the series is lowered by 128.
constexpr size_t kTaps = 4;
constexpr int32_t kSeriesBias = 128;
constexpr uint32_t kSeriesFlip = 0x80808080;

struct Accumulator {
  V32 sum;
  void Start(V32 value) { sum = value; }
  void Add(V32 series, V32 pattern) {
    // The intrinsic needs a compiler flag that Highway does not set for this target.
    asm("vpdpbusd %2, %1, %0" : "+v"(sum.raw) : "v"(pattern.raw), "vm"(series.raw));
  }
  V32 Total() const { return sum; }
};

void PackPattern(const uint8_t* bytes, size_t count, void* lanes) {
  std::memcpy(lanes, bytes, count);
}
#elif HWY_TARGET == HWY_SCALAR
constexpr size_t kTaps = 1;
constexpr int32_t kSeriesBias = 0;
constexpr uint32_t kSeriesFlip = 0;

struct Accumulator {
  V32 sum;
  void Start(V32 value) { sum = value; }
  void Add(V32 series, V32 pattern) { sum = hn::Add(sum, hn::Mul(series, pattern)); }
  V32 Total() const { return sum; }
};

void PackPattern(const uint8_t* bytes, size_t count, void* lanes) {
  std::copy(bytes, bytes + count, static_cast<int32_t*>(lanes));
}
#else
constexpr size_t kTaps = 2;
constexpr int32_t kSeriesBias = 0;
constexpr uint32_t kSeriesFlip = 0;

struct Accumulator {
  V32 sum, other;
  void Start(V32 value) {
    sum = value;
    other = hn::Zero(D32());
  }
  void Add(V32 series, V32 pattern) {
    const hn::Repartition<int16_t, D32> d16;
    sum = hn::ReorderWidenMulAccumulate(D32(), hn::BitCast(d16, series), hn::BitCast(d16, pattern),
                                        sum, other);
  }
  V32 Total() const { return hn::RearrangeToOddPlusEven(sum, other); }
};

void PackPattern(const uint8_t* bytes, size_t count, void* lanes) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  for (size_t i = 0; i < count; i += hn::Lanes(d16))
    hn::Store(hn::PromoteTo(d16, hn::LoadU(d8, bytes + i)), d16, static_cast<int16_t*>(lanes) + i);
}
#endif

// Pattern positions taken together: a loaded piece of the series serves all pairs of a position and
// a block of offsets with the same distance.
constexpr size_t kRows = 4;

template <size_t kBlocks>
void Tile(const int32_t* HWY_RESTRICT series, const int32_t* HWY_RESTRICT pattern,
          size_t patternLength, int32_t* HWY_RESTRICT sums) {
  const D32 d;
  const size_t lanes = hn::Lanes(d);
  Accumulator accumulators[kBlocks];
  for (size_t b = 0; b < kBlocks; ++b) accumulators[b].Start(hn::Load(d, sums + b * lanes));
  for (size_t row = 0; row < patternLength; row += kRows * lanes) {
    for (size_t i = row; i < row + lanes; i += kTaps) {
      V32 taps[kRows];
      for (size_t r = 0; r < kRows; ++r) taps[r] = hn::Set(d, pattern[(i + r * lanes) / kTaps]);
      HWY_UNROLL(16)
      for (size_t distance = 0; distance < kBlocks + kRows - 1; ++distance) {
        const V32 values = hn::LoadU(d, series + i + distance * lanes);
        HWY_UNROLL(8)
        for (size_t r = 0; r < kRows; ++r)
          if (distance >= r && distance - r < kBlocks)
            accumulators[distance - r].Add(values, taps[r]);
      }
    }
  }
  for (size_t b = 0; b < kBlocks; ++b) hn::Store(accumulators[b].Total(), d, sums + b * lanes);
}

// Adds the products of a pattern of at most kPiece values at `count` offsets, at most kPiece.
void AddPiece(const uint8_t* a, size_t lengthA, const uint8_t* b, size_t count,
              int32_t* HWY_RESTRICT sums) {
  const D32 d;
  const size_t lanes = hn::Lanes(d);
  const size_t rounded = hwy::RoundUpTo(lengthA, kRows * lanes);
  const size_t blocks = hwy::DivCeil(count, lanes);
  const size_t span = blocks * lanes + rounded;

  HWY_ALIGN_MAX uint8_t bytes[kPieceBytes + 64];
  HWY_ALIGN_MAX int32_t pattern[kPiece];
  std::memcpy(bytes, a, lengthA);
  std::memset(bytes + lengthA, 0, rounded - lengthA);
  PackPattern(bytes, rounded, pattern);

  HWY_ALIGN_MAX int32_t series[kPieceBytes];
  const size_t used = count + lengthA - 1;
  std::memcpy(bytes, b, used);
  std::memset(bytes + used, 0, span + lanes - used);
  const hn::Rebind<uint8_t, D32> d8;
  for (size_t j = 0; j < span; j += lanes) {
    auto lane = hn::PromoteTo(d, hn::LoadU(d8, bytes + j));
    const auto next = [&](size_t tap)
                          HWY_ATTR { return hn::PromoteTo(d, hn::LoadU(d8, bytes + j + tap)); };
    if constexpr (kTaps == 2) lane = hn::Or(lane, hn::ShiftLeft<16>(next(1)));
    if constexpr (kTaps == 4) {
      lane = hn::Or(hn::Or(lane, hn::ShiftLeft<8>(next(1))),
                    hn::Or(hn::ShiftLeft<16>(next(2)), hn::ShiftLeft<24>(next(3))));
    }
    hn::Store(hn::Xor(lane, hn::Set(d, static_cast<int32_t>(kSeriesFlip))), d, series + j);
  }

  size_t block = 0;
  const auto tiles = [&]<size_t kBlocks>() HWY_ATTR {
    for (; block + kBlocks <= blocks; block += kBlocks)
      Tile<kBlocks>(series + block * lanes, pattern, rounded, sums + block * lanes);
  };
  tiles.template operator()<8>();
  tiles.template operator()<4>();
  tiles.template operator()<2>();
  tiles.template operator()<1>();
}

void SlideBytes(const uint8_t* a, size_t lengthA, const uint8_t* b, int32_t* dst,
                size_t outLength) {
  HWY_ALIGN_MAX int32_t sums[kPiece];
  const int32_t bias = kSeriesBias ? kSeriesBias * std::accumulate(a, a + lengthA, 0) : 0;
  for (size_t k = 0; k < outLength; k += kPiece) {
    const size_t count = std::min(outLength - k, kPiece);
    std::fill(sums, sums + hwy::RoundUpTo(count, hn::Lanes(D32())), bias);
    for (size_t i = 0; i < lengthA; i += kPiece)
      AddPiece(a + i, std::min(lengthA - i, kPiece), b + k + i, count, sums);
    std::memcpy(dst + k, sums, count * sizeof *sums);
  }
}

}  // namespace
}  // namespace quill::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quill {

namespace {
HWY_EXPORT(SlideFloats);
HWY_EXPORT(SlideBytes);
HWY_EXPORT(MomentsOf);
}  // namespace

VecStatus CrossCorr(const float* a, int32_t lengthA, const float* b, int32_t lengthB, float* dst,
                    int32_t outLength) {
  if (const VecStatus status = CheckVectors(std::min({lengthA, lengthB, outLength}), a, b, dst))
    return status;
  HWY_DYNAMIC_DISPATCH(SlideFloats)(a, lengthA, b, lengthB, dst, outLength);
  return kVecOk;
}

VecStatus CrossCorrBytes(const uint8_t* a, int32_t lengthA, const uint8_t* b, int32_t lengthB,
                         int32_t* dst, int32_t outLength) {
  if (const VecStatus status = CheckVectors(std::min(lengthA, outLength), a, b, dst)) return status;
  if (int64_t{lengthA} + outLength - 1 > lengthB) return kVecBadSize;
  HWY_DYNAMIC_DISPATCH(SlideBytes)(a, lengthA, b, dst, outLength);
  return kVecOk;
}

float CorrelatePearson(const float* x, const float* y, int32_t n) {
  if (CheckVectors(n, x, y) != kVecOk) {
    CSystemError::Bool("CorrelatePearson", 100, false);
    return 0.0f;
  }
  const Moments sums = HWY_DYNAMIC_DISPATCH(MomentsOf)(x, y, n);
  const double dx = std::sqrt(std::max(n * sums.xx - sums.x * sums.x, 0.0));
  const double dy = std::sqrt(std::max(n * sums.yy - sums.y * sums.y, 0.0));
  if (dx == 0.0 || dy == 0.0) return dx == dy ? 1.0f : 0.0f;
  const double r = (n * sums.xy - sums.x * sums.y) / (dx * dy);
  return std::isfinite(r) ? static_cast<float>(std::clamp(r, -1.0, 1.0)) : 0.0f;
}

}  // namespace quill
#endif
