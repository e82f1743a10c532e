// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_scores.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/system_error.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/image_scores.cpp"
#include <hwy/foreach_target.h>
// The macros of each target follow.
#include <hwy/highway.h>

#ifndef QUILL_IMAGE_SCORES_ONCE
#define QUILL_IMAGE_SCORES_ONCE
namespace quill {
namespace {

// Sums of products of the four forms of a target with the two of a candidate.
constexpr size_t kForms = 4;
constexpr size_t kSides = 2;
template <class T>
using Products = std::array<std::array<T, kSides>, kForms>;

}  // namespace
}  // namespace quill
#endif

HWY_BEFORE_NAMESPACE();
namespace quill::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

void MultiplyFloats(const std::array<const float*, kForms>& forms,
                    const std::array<const float*, kSides>& sides, size_t n,
                    Products<float>* products) {
  const hn::ScalableTag<float> d;
  auto sum00 = hn::Zero(d), sum01 = sum00, sum10 = sum00, sum11 = sum00;
  auto sum20 = sum00, sum21 = sum00, sum30 = sum00, sum31 = sum00;
  size_t i = 0;
  for (; i + hn::Lanes(d) <= n; i += hn::Lanes(d)) {
    const auto side0 = hn::LoadU(d, sides[0] + i);
    const auto side1 = hn::LoadU(d, sides[1] + i);
    const auto form0 = hn::Load(d, forms[0] + i), form1 = hn::Load(d, forms[1] + i);
    const auto form2 = hn::Load(d, forms[2] + i), form3 = hn::Load(d, forms[3] + i);
    sum00 = hn::MulAdd(form0, side0, sum00);
    sum01 = hn::MulAdd(form0, side1, sum01);
    sum10 = hn::MulAdd(form1, side0, sum10);
    sum11 = hn::MulAdd(form1, side1, sum11);
    sum20 = hn::MulAdd(form2, side0, sum20);
    sum21 = hn::MulAdd(form2, side1, sum21);
    sum30 = hn::MulAdd(form3, side0, sum30);
    sum31 = hn::MulAdd(form3, side1, sum31);
  }
  const auto total = [&](auto sum) HWY_ATTR { return hn::GetLane(hn::SumOfLanes(d, sum)); };
  *products = {{{total(sum00), total(sum01)},
                {total(sum10), total(sum11)},
                {total(sum20), total(sum21)},
                {total(sum30), total(sum31)}}};
  for (; i < n; ++i)
    for (size_t f = 0; f < kForms; ++f)
      for (size_t s = 0; s < kSides; ++s) (*products)[f][s] += forms[f][i] * sides[s][i];
}

// n is kQuadrantSize at most, so that sums of products of bytes fit 31 bits.
void MultiplyBytes(const std::array<const int16_t*, kForms>& forms,
                   const std::array<const uint8_t*, kSides>& sides, size_t n,
                   Products<int32_t>* products) {
  *products = {};
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<int32_t> d;
  const hn::Repartition<int16_t, decltype(d)> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  auto sum00 = hn::Zero(d), sum01 = sum00, sum10 = sum00, sum11 = sum00;
  auto sum20 = sum00, sum21 = sum00, sum30 = sum00, sum31 = sum00;
  // Used by some targets only.
  auto odd00 = sum00, odd01 = sum00, odd10 = sum00, odd11 = sum00;
  auto odd20 = sum00, odd21 = sum00, odd30 = sum00, odd31 = sum00;
  const auto add = [&](auto form, auto side, auto& sum, auto& odd)
                       HWY_ATTR { sum = hn::ReorderWidenMulAccumulate(d, form, side, sum, odd); };
  for (; i + hn::Lanes(d16) <= n; i += hn::Lanes(d16)) {
    const auto side0 = hn::PromoteTo(d16, hn::LoadU(d8, sides[0] + i));
    const auto side1 = hn::PromoteTo(d16, hn::LoadU(d8, sides[1] + i));
    const auto form0 = hn::Load(d16, forms[0] + i), form1 = hn::Load(d16, forms[1] + i);
    const auto form2 = hn::Load(d16, forms[2] + i), form3 = hn::Load(d16, forms[3] + i);
    add(form0, side0, sum00, odd00);
    add(form0, side1, sum01, odd01);
    add(form1, side0, sum10, odd10);
    add(form1, side1, sum11, odd11);
    add(form2, side0, sum20, odd20);
    add(form2, side1, sum21, odd21);
    add(form3, side0, sum30, odd30);
    add(form3, side1, sum31, odd31);
  }
  const auto total = [&](auto sum, auto odd) HWY_ATTR {
    return hn::GetLane(hn::SumOfLanes(d, hn::RearrangeToOddPlusEven(sum, odd)));
  };
  *products = {{{total(sum00, odd00), total(sum01, odd01)},
                {total(sum10, odd10), total(sum11, odd11)},
                {total(sum20, odd20), total(sum21, odd21)},
                {total(sum30, odd30), total(sum31, odd31)}}};
#endif
  for (; i < n; ++i)
    for (size_t f = 0; f < kForms; ++f)
      for (size_t s = 0; s < kSides; ++s) (*products)[f][s] += forms[f][i] * sides[s][i];
}

}  // namespace
}  // namespace quill::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quill {
namespace {

HWY_EXPORT(MultiplyFloats);
HWY_EXPORT(MultiplyBytes);

// A mirrored picture has its quadrants exchanged, a turned one has them transposed; so is the sum
// of products of a form with a side: form 0 and 1 are the quadrants, 2 and 3 the transposed ones.
struct Pearson {
  const ExperimentalTarget& target;
  const ImageExperimental& candidate;
  const Products<int32_t>& products;

  [[nodiscard]] double operator()(size_t form, size_t side) const {
    const ExperimentalTarget::Side& a = form % 2 == 0 ? target.quadrant1 : target.quadrant2;
    const CImageQuadrant& b = side == 0 ? candidate.quadrant1 : candidate.quadrant2;
    // Two constant ones match.
    if (a.deviation == 0 || b.Deviation() == 0) return a.deviation == b.Deviation() ? 1 : 0;
    const int64_t covariance = int64_t{kQuadrantSize} * products[form][side] - a.sum * b.Sum();
    return std::clamp(static_cast<double>(covariance) / (a.deviation * b.Deviation()), -1.0, 1.0);
  }
};

void Widen(const CImageQuadrant& quadrant, ExperimentalTarget::Side* side) {
  constexpr size_t kSide = kQuadrantSide;
  const uint8_t* value = quadrant.Values().data();
  for (size_t y = 0; y < kSide; ++y)
    for (size_t x = 0; x < kSide; ++x)
      side->values[y * kSide + x] = side->transposed[x * kSide + y] = *value++;
  side->sum = quadrant.Sum();
  side->deviation = quadrant.Deviation();
}

}  // namespace

void MakeContentTarget(const ImageContent& content, ContentTarget* target) {
  *target = {};
  const size_t n = content.rows.size();
  if (n == 0 || content.columns.size() != n) return;
  const auto make = [](const std::vector<float>& values, CFloatVector* forward,
                       CFloatVector* back) {
    forward->assign(values.begin(), values.end());
    back->assign(values.rbegin(), values.rend());
    // The first value takes no part: what is left is reversed in its place.
    std::rotate(back->begin(), back->end() - 1, back->end());
    forward->front() = back->front() = 0;
  };
  make(content.rows, &target->rows, &target->rowsBack);
  make(content.columns, &target->columns, &target->columnsBack);
}

bool DecompressTranspose(const ImageExperimental& experimental, ExperimentalTarget* target) {
  if (!experimental.IsWhole()) return CSystemError::Bool("DecompressTranspose", 81, false);
  Widen(experimental.quadrant1, &target->quadrant1);
  Widen(experimental.quadrant2, &target->quadrant2);
  return true;
}

float CmpCorMethod(const ContentTarget& target, const ImageContent& candidate) {
  const size_t n = target.rows.size();
  if (n < 2 || candidate.rows.size() != n || candidate.columns.size() != n) {
    CSystemError::Bool("CmpCorMethod", 112, false);
    return -1;
  }
  Products<float> products;
  HWY_DYNAMIC_DISPATCH(MultiplyFloats)
  ({target.rows.data(), target.columns.data(), target.rowsBack.data(), target.columnsBack.data()},
   {candidate.rows.data(), candidate.columns.data()}, n, &products);

  const auto m = static_cast<float>(n - 1);
  // What is no number, which only a damaged cache file brings, counts as no likeness.
  for (auto& form : products)
    for (float& sum : form) sum = sum > 0 ? sum / m : 0;
  // A sum with the other picture backward is that of this one backward.
  const auto [a, b] = products[0];
  const auto [c, d] = products[1];
  const auto [e, g] = products[2];
  const auto [f, h] = products[3];
  float best = 0;
  for (const float score : {a * d, a * h, b * c, b * f, d * e, e * h, c * g, f * g})
    best = score > best ? score : best;
  return std::min(best, 1.0F);
}

float CmpFreqMethod(const ExperimentalTarget& target, const ImageExperimental& candidate) {
  if (!candidate.IsWhole()) return -1;
  Products<int32_t> products;
  HWY_DYNAMIC_DISPATCH(MultiplyBytes)
  ({target.quadrant1.values.data(), target.quadrant2.values.data(),
    target.quadrant1.transposed.data(), target.quadrant2.transposed.data()},
   {candidate.quadrant1.Values().data(), candidate.quadrant2.Values().data()}, kQuadrantSize,
   &products);

  const Pearson p{target, candidate, products};
  const double best =
      std::max({0.0, p(0, 0) * p(1, 1), p(0, 1) * p(1, 0), p(2, 0) * p(3, 1), p(2, 1) * p(3, 0)});
  // The tenth power spreads the top of the range: 0.9716 becomes 0.75.
  const double square = best * best;
  const double fourth = square * square;
  return static_cast<float>(fourth * fourth * square);
}

}  // namespace quill
#endif
