// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/precise.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/system_error.h"
#include "signal/correlation.h"
#include "signal/vector_ops.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/precise.cpp"
#include <hwy/foreach_target.h>
// The macros of each target follow.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quill::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// The variance of bytes is at most 127.5 squared, and times 300 squared that fits 31 bits: products
// that wrap on the way there leave it exact. The same holds for the covariance.
constexpr float kSquaredLength = float{kBarkPattern} * kBarkPattern;
constexpr float kLeastVariance = 1e-6f;

// `count` whole vectors.
void InverseDeviations(const int32_t* HWY_RESTRICT sums, const int32_t* HWY_RESTRICT squares,
                       size_t count, float* HWY_RESTRICT invdev) {
  const hn::ScalableTag<float> d;
  const hn::Rebind<int32_t, decltype(d)> di;
  const auto length = hn::Set(di, kBarkPattern);
  const auto scale = hn::Set(d, 1.0f / kSquaredLength);
  const auto least = hn::Set(d, kLeastVariance);
  const auto one = hn::Set(d, 1.0f);
  for (size_t k = 0; k < count; k += hn::Lanes(d)) {
    const auto sum = hn::Load(di, sums + k);
    const auto exact = hn::Sub(hn::Mul(length, hn::Load(di, squares + k)), hn::Mul(sum, sum));
    const auto variance = hn::Max(hn::Mul(hn::ConvertTo(d, exact), scale), least);
    hn::Store(hn::Div(one, hn::Sqrt(variance)), d, invdev + k);
  }
}

// One band of a sweep: turns the sliding products into Pearson values limited to 0 to 1, adds them
// to the curve, and gives the greatest. `count` whole vectors.
float FoldBand(const int32_t* HWY_RESTRICT dots, const int32_t* HWY_RESTRICT sums,
               const float* HWY_RESTRICT invdev, size_t count, int32_t patternSum,
               float patternInvdev, float* HWY_RESTRICT curve) {
  const hn::ScalableTag<float> d;
  const hn::Rebind<int32_t, decltype(d)> di;
  const auto length = hn::Set(di, kBarkPattern);
  const auto pattern = hn::Set(di, patternSum);
  const auto scale = hn::Set(d, patternInvdev / kSquaredLength);
  const auto zero = hn::Zero(d);
  const auto one = hn::Set(d, 1.0f);
  auto peak = zero;
  for (size_t k = 0; k < count; k += hn::Lanes(d)) {
    const auto covariance =
        hn::Sub(hn::Mul(length, hn::Load(di, dots + k)), hn::Mul(pattern, hn::Load(di, sums + k)));
    const auto scaled = hn::Mul(hn::Load(d, invdev + k), scale);
    const auto pearson = hn::Mul(hn::ConvertTo(d, covariance), scaled);
    const auto value = hn::Min(hn::Max(pearson, zero), one);
    peak = hn::Max(peak, value);
    hn::Store(hn::Add(hn::Load(d, curve + k), value), d, curve + k);
  }
  return hn::GetLane(hn::MaxOfLanes(d, peak));
}

// Pearson values of stretches of m values with a pattern that is not constant. In double, since the
// lengths are free; a constant stretch gives 0. The inputs reach to the end of a whole vector.
void PearsonRow(const int32_t* HWY_RESTRICT dots, const int32_t* HWY_RESTRICT sums,
                const int32_t* HWY_RESTRICT squares, size_t count, int32_t m, int32_t patternSum,
                double patternDeviation, float* HWY_RESTRICT out) {
  const hn::ScalableTag<double> d;
  const hn::Rebind<int32_t, decltype(d)> di;
  const hn::Rebind<float, decltype(d)> df;
  const auto length = hn::Set(d, m);
  const auto pattern = hn::Set(d, patternSum);
  const auto deviation = hn::Set(df, static_cast<float>(patternDeviation));
  const auto one = hn::Set(df, 1.0f);
  HWY_ALIGN float values[HWY_LANES(float)];
  for (size_t k = 0; k < count; k += hn::Lanes(d)) {
    const auto dot = hn::PromoteTo(d, hn::Load(di, dots + k));
    const auto sum = hn::PromoteTo(d, hn::Load(di, sums + k));
    const auto square = hn::PromoteTo(d, hn::Load(di, squares + k));
    const auto covariance = hn::DemoteTo(df, hn::Sub(hn::Mul(length, dot), hn::Mul(sum, pattern)));
    const auto spread = hn::DemoteTo(df, hn::Sub(hn::Mul(length, square), hn::Mul(sum, sum)));
    const auto quotient = hn::Div(covariance, hn::Mul(hn::Sqrt(spread), deviation));
    const auto limited = hn::Max(hn::Min(quotient, one), hn::Neg(one));
    hn::Store(hn::IfThenElseZero(hn::Gt(spread, hn::Zero(df)), limited), df, values);
    std::memcpy(out + k, values, std::min(hn::Lanes(d), count - k) * sizeof *out);
  }
}

}  // namespace
}  // namespace quill::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quill {

namespace {

HWY_EXPORT(InverseDeviations);
HWY_EXPORT(FoldBand);
HWY_EXPORT(PearsonRow);

// Sum and sum of squares of the stretch of `m` values that begins where the object stands.
class CSlidingSums {
 public:
  CSlidingSums(const uint8_t* series, int32_t m) : m_leaving(series), m_entering(series + m) {
    for (const uint8_t* x = series; x != m_entering; ++x) {
      m_sum += *x;
      m_square += *x * *x;
    }
  }

  [[nodiscard]] int32_t Sum() const { return m_sum; }
  [[nodiscard]] int32_t Square() const { return m_square; }

  // Writes those of `count` stretches. The object then stands at the last of them.
  void Slide(int32_t count, int32_t* sums, int32_t* squares) {
    int32_t sum = m_sum, square = m_square;
    sums[0] = sum;
    squares[0] = square;
    for (int32_t k = 1; k < count; ++k) {
      const int32_t in = m_entering[k - 1], out = m_leaving[k - 1];
      sum += in - out;
      square += (in - out) * (in + out);
      sums[k] = sum;
      squares[k] = square;
    }
    m_entering += count - 1;
    m_leaving += count - 1;
    m_sum = sum;
    m_square = square;
  }

  void Next() {
    const int32_t in = *m_entering++, out = *m_leaving++;
    m_sum += in - out;
    m_square += (in - out) * (in + out);
  }

 private:
  const uint8_t* m_leaving;
  const uint8_t* m_entering;
  int32_t m_sum = 0;
  int32_t m_square = 0;
};

bool CalculateMeanVar(const uint8_t* row, int32_t length, int32_t* sums, float* invdev) {
  if (length < kBarkPattern || length > kBarkLongest)
    return CSystemError::Bool("CalculateMeanVar", 859, false);
  const int32_t count = length - kBarkPattern + 1;
  alignas(64) int32_t squares[kBarkStatistics] = {};
  CSlidingSums(row, kBarkPattern).Slide(count, sums, squares);
  std::fill(sums + count, sums + kBarkStatistics, 0);
  HWY_DYNAMIC_DISPATCH(InverseDeviations)(sums, squares, kBarkStatistics, invdev);
  std::fill(invdev + count, invdev + kBarkStatistics, 0.0f);
  return true;
}

bool FillBarkData(const uint8_t* rows, int32_t length, BarkData* data) {
  data->rows = rows;
  data->length = length;
  for (int32_t band = 0; band < kBarkBands; ++band)
    if (!CalculateMeanVar(rows + static_cast<size_t>(band) * kBarkStride, length, data->sums[band],
                          data->invdev[band]))
      return false;
  return true;
}

// The height of the band-averaged curve, measured against the bands' own peaks.
float Agreement(float curvePeak, float peakMean) {
  return double{peakMean} > 1e-6 ? curvePeak / peakMean : 0.0f;
}

}  // namespace

bool Precalculate(const BarkPrint& print, BarkData* data) {
  return FillBarkData(print.rows.data(), print.length, data) ||
         CSystemError::Bool("Precalculate", 1017, false);
}

bool CheckPrecalculate(const uint8_t* rows, int32_t length, BarkData* data) {
  return FillBarkData(rows, length, data) || CSystemError::Bool("CheckPrecalculate", 1167, false);
}

bool SweepBarks(const BarkData& series, const BarkData& pattern, SweepResult* result) {
  *result = {};
  if (!series.rows || !pattern.rows || series.length < kBarkPattern ||
      pattern.length < kBarkPattern)
    return CSystemError::Bool("CrossCorrelation", 910, false);
  const int32_t middle = (pattern.length - kBarkPattern) / 2;
  const int32_t count = series.length - kBarkPattern + 1;
  alignas(64) int32_t dots[kBarkStatistics] = {};
  alignas(64) float curve[kBarkStatistics] = {};
  float peaks = 0;
  for (int32_t band = 0; band < kBarkBands; ++band) {
    const ptrdiff_t row = ptrdiff_t{band} * kBarkStride;
    if (const VecStatus status = CrossCorrBytes(pattern.rows + row + middle, kBarkPattern,
                                                series.rows + row, series.length, dots, count)) {
      CSystemError::Integer("CrossCorrelation", 920, status);
      return false;
    }
    peaks += HWY_DYNAMIC_DISPATCH(FoldBand)(dots, series.sums[band], series.invdev[band],
                                            kBarkStatistics, pattern.sums[band][middle],
                                            pattern.invdev[band][middle], curve);
  }
  result->peakMean = peaks / kBarkBands;
  result->curvePeak = *std::max_element(curve, curve + count) / kBarkBands;
  return true;
}

float ScoreBarks(const BarkData& target, const BarkData& candidate) {
  SweepResult first, second;
  if (!SweepBarks(target, candidate, &first) || !SweepBarks(candidate, target, &second)) return 0;
  const float peak = std::max(first.curvePeak + second.curvePeak, 0.0f);
  return peak * 0.5f * Agreement(peak, first.peakMean + second.peakMean);
}

bool CorrelatePearson(const uint8_t* series, int32_t n, const uint8_t* pattern, int32_t m,
                      CFloatVector* out) {
  // Beyond this length the sums of squares do not fit.
  constexpr int32_t kLongestPattern = 33024;
  if (!series || !pattern || !out || m < 1 || n < m || m > kLongestPattern)
    return CSystemError::Bool("CorrelatePearson", 19, false);
  const CSlidingSums whole(pattern, m);
  const double deviation =
      std::sqrt(std::max(double(m) * whole.Square() - double(whole.Sum()) * whole.Sum(), 0.0));

  const int32_t offsets = n - m + 1;
  out->resize(offsets);
  constexpr int32_t kPiece = 512;
  alignas(64) int32_t dots[kPiece] = {}, sums[kPiece] = {}, squares[kPiece] = {};
  CSlidingSums window(series, m);
  for (int32_t k = 0; k < offsets; k += kPiece) {
    if (k > 0) window.Next();
    const int32_t count = std::min(kPiece, offsets - k);
    window.Slide(count, sums, squares);
    float* values = out->data() + k;
    if (deviation == 0) {
      for (int32_t i = 0; i < count; ++i)
        values[i] = int64_t{m} * squares[i] == int64_t{sums[i]} * sums[i] ? 1.0f : 0.0f;
      continue;
    }
    if (const VecStatus status = CrossCorrBytes(pattern, m, series + k, n - k, dots, count)) {
      CSystemError::Integer("CorrelatePearson", 77, status);
      return false;
    }
    HWY_DYNAMIC_DISPATCH(PearsonRow)(dots, sums, squares, count, m, whole.Sum(), deviation, values);
  }
  return true;
}

bool SweepCorrelogram(const CorrelogramPrint& longer, const CorrelogramPrint& shorter,
                      SweepResult* result) {
  *result = {};
  const auto n = static_cast<int32_t>(longer.values.size() / kCorrelogramBands);
  const auto m = static_cast<int32_t>(shorter.values.size() / kCorrelogramBands);
  CFloatVector values, curve(n >= m ? n - m + 1 : 1);
  const auto count = static_cast<int32_t>(curve.size());
  float peaks = 0;
  for (int32_t band = 0; band < kCorrelogramBands; ++band) {
    if (!CorrelatePearson(longer.values.data() + ptrdiff_t{band} * n, n,
                          shorter.values.data() + ptrdiff_t{band} * m, m, &values))
      return false;
    float peak = 0;
    if (VecAddInPlace(values.data(), curve.data(), count) || VecMax(values.data(), count, &peak))
      return false;
    peaks += peak;
  }
  float highest = 0;
  if (VecMax(curve.data(), count, &highest)) return false;
  result->peakMean = peaks / kCorrelogramBands;
  result->curvePeak = highest / kCorrelogramBands;
  return true;
}

float ScoreCorrelogram(const CorrelogramPrint& target, const CorrelogramPrint& candidate) {
  const bool targetIsLonger = target.values.size() >= candidate.values.size();
  SweepResult sweep;
  if (!SweepCorrelogram(targetIsLonger ? target : candidate, targetIsLonger ? candidate : target,
                        &sweep))
    return 0;
  const float peak = std::max(sweep.curvePeak, 0.0f);
  const float root = Agreement(peak, sweep.peakMean) * peak;
  return root * root;
}

}  // namespace quill
#endif
