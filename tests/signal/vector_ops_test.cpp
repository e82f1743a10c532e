// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/vector_ops.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "signal/aligned_allocator.h"
#include "support/each_target.h"

namespace quill {
namespace {

using Floats = std::vector<float>;

TEST(AlignedAllocator, GivesWholeAlignedBlocksOfEverySize) {
  for (ptrdiff_t size = 1; size < 400; ++size) {
    auto* block = static_cast<uint8_t*>(VecAlloc(size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u);
    std::fill(block, block + size, uint8_t{0xff});  // must not reach the pointer ahead of the block
    VecFree(block);
  }
  EXPECT_EQ(VecAlloc(0), nullptr);
  EXPECT_EQ(VecAlloc(-1), nullptr);
  VecFree(nullptr);
  CFloatVector grown;
  for (int i = 0; i < 1000; ++i) grown.push_back(static_cast<float>(i));
  grown.resize(1001);
  EXPECT_EQ(grown[999], 999.0f);
  EXPECT_EQ(grown[1000], 0.0f);
}

TEST(VectorOps, OperandsStandInTheOrderTold) {
  const Floats a = {2, 4, 8}, b = {10, 20, 40};
  Floats dst(3);
  ASSERT_EQ(VecSub(a.data(), b.data(), dst.data(), 3), kVecOk);
  EXPECT_EQ(dst, (Floats{8, 16, 32}));
  ASSERT_EQ(VecDiv(a.data(), b.data(), dst.data(), 3), kVecOk);
  EXPECT_EQ(dst, (Floats{5, 5, 5}));
  dst = b;
  ASSERT_EQ(VecSubInPlace(a.data(), dst.data(), 3), kVecOk);
  EXPECT_EQ(dst, (Floats{8, 16, 32}));
  ASSERT_EQ(VecInverseConstInPlace(64, dst.data(), 3), kVecOk);
  EXPECT_EQ(dst, (Floats{8, 4, 2}));
  ASSERT_EQ(VecNormalize(b.data(), dst.data(), 3, 10, 2), kVecOk);
  EXPECT_EQ(dst, (Floats{0, 5, 15}));
}

TEST(VectorOps, DivisionByZeroWarnsAndFinishesTheRest) {
  const Floats a = {1, 0, 2, 0}, b = {3, 1, 8, 0};
  Floats dst(4, -1);
  EXPECT_EQ(VecDiv(a.data(), b.data(), dst.data(), 4), kVecDivByZero);
  EXPECT_EQ(dst[0], 3.0f);
  EXPECT_TRUE(std::isinf(dst[1]));
  EXPECT_EQ(dst[2], 4.0f);
  EXPECT_TRUE(std::isnan(dst[3]));

  Floats kept = {1, 2};
  EXPECT_LT(VecDivConstInPlace(0, kept.data(), 2), 0);
  EXPECT_EQ(kept, (Floats{1, 2}));
}

TEST(VectorOps, BytesTruncateAndSaturate) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const Floats src = {1.0f, 0.5f, 0.999f, -0.1f, 0.0039f, 0.00391f, 1e9f, -1e9f, nan};
  std::vector<uint8_t> bytes(src.size());
  ASSERT_EQ(VecFloatToBytes(src.data(), bytes.data(), static_cast<int32_t>(src.size())), kVecOk);
  EXPECT_EQ(bytes, (std::vector<uint8_t>{255, 128, 255, 0, 0, 1, 255, 0, 0}));
  Floats back(bytes.size());
  ASSERT_EQ(VecBytesToFloat(bytes.data(), back.data(), 3), kVecOk);
  EXPECT_EQ(back[0], 255.0f);
}

TEST(VectorOps, LimitsTouchOnlyWhatIsBeyondThem) {
  Floats x = {-2, -1, 0, 1, 2};
  ASSERT_EQ(VecClampInPlace(x.data(), 5, -1, -9, 1, 9), kVecOk);
  EXPECT_EQ(x, (Floats{-9, -1, 0, 1, 9}));
  ASSERT_EQ(VecFloorInPlace(x.data(), 5, -1), kVecOk);
  ASSERT_EQ(VecCapInPlace(x.data(), 5, 1), kVecOk);
  EXPECT_EQ(x, (Floats{-1, -1, 0, 1, 1}));
  const Floats other = {0, -5, 3, 1, -1};
  ASSERT_EQ(VecMaxEveryInPlace(other.data(), x.data(), 5), kVecOk);
  EXPECT_EQ(x, (Floats{0, -1, 3, 1, 1}));
}

TEST(VectorOps, BadArgumentsChangeNothing) {
  Floats x = {1, 2}, y = {3, 4};
  float value = 7;
  int32_t index = 7;
  for (const int32_t n : {0, -1}) {
    EXPECT_LT(VecAdd(x.data(), x.data(), y.data(), n), 0);
    EXPECT_LT(VecSum(x.data(), n, &value), 0);
    EXPECT_LT(VecMaxIndex(x.data(), n, &value, &index), 0);
    EXPECT_LT(WinHannInPlace(y.data(), n), 0);
    EXPECT_LT(ComplexMagnitude(x.data(), y.data(), n), 0);
  }
  EXPECT_LT(VecAdd(nullptr, x.data(), y.data(), 2), 0);
  EXPECT_LT(VecAddInPlace(nullptr, y.data(), 2), 0);
  EXPECT_LT(VecSum(nullptr, 2, &value), 0);
  EXPECT_LT(VecMeanDev(x.data(), 2, &value, nullptr), 0);
  EXPECT_EQ(y, (Floats{3, 4}));
  EXPECT_EQ(value, 7.0f);
  EXPECT_EQ(index, 7);
}

TEST(VectorOps, ReductionsMatchPlainSumsAtEveryLength) {
  test::EachTarget([] {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> uniform(-3, 5);
    for (int32_t n = 1; n < 90; ++n) {
      SCOPED_TRACE(n);
      Floats x(static_cast<size_t>(n));
      for (float& value : x) value = uniform(random);
      double sum = 0, absolute = 0, squares = 0;
      for (const float value : x) sum += value, absolute += std::fabs(value);
      for (const float value : x) squares += (value - sum / n) * (value - sum / n);
      float got = 0, deviation = 0;
      ASSERT_EQ(VecSum(x.data(), n, &got), kVecOk);
      EXPECT_NEAR(got, sum, 1e-5);
      ASSERT_EQ(VecNormL1(x.data(), n, &got), kVecOk);
      EXPECT_NEAR(got, absolute, 2e-5);
      ASSERT_EQ(VecMeanDev(x.data(), n, &got, &deviation), kVecOk);
      EXPECT_NEAR(got, sum / n, 1e-6);
      EXPECT_NEAR(deviation, n > 1 ? std::sqrt(squares / (n - 1)) : 0.0, 1e-6);
      ASSERT_EQ(VecMean(x.data(), n, &got), kVecOk);
      EXPECT_NEAR(got, sum / n, 1e-6);
    }
  });
}

TEST(VectorOps, SumsKeepSmallTermsBesideLargeOnes) {
  Floats x(100000, 0.25f);
  x[0] = 1e8f;
  float sum = 0;
  ASSERT_EQ(VecSum(x.data(), 100000, &sum), kVecOk);
  EXPECT_EQ(sum, static_cast<float>(1e8 + 0.25 * 99999));
}

TEST(VectorOps, ExtremesComeWithTheFirstIndex) {
  const Floats x = {-3, -1, -2, -1, -7};
  float max = 0, min = 0;
  int32_t index = -1;
  ASSERT_EQ(VecMaxIndex(x.data(), 5, &max, &index), kVecOk);
  EXPECT_EQ(max, -1.0f);
  EXPECT_EQ(index, 1);
  max = 0;
  ASSERT_EQ(VecMinMax(x.data(), 5, &min, &max), kVecOk);
  EXPECT_EQ(min, -7.0f);
  EXPECT_EQ(max, -1.0f);
}

TEST(VectorOps, MagnitudesAreModuliAtEveryLength) {
  test::EachTarget([] {
    for (int32_t n = 1; n < 70; ++n) {
      Floats complex, moduli(static_cast<size_t>(n) + 1, -1.0f);
      for (int32_t i = 0; i < n; ++i) complex.insert(complex.end(), {3.0f * i, -4.0f * i});
      ASSERT_EQ(ComplexMagnitude(complex.data(), moduli.data(), n), kVecOk);
      for (int32_t i = 0; i < n; ++i) EXPECT_FLOAT_EQ(moduli[i], 5.0f * i);
      EXPECT_EQ(moduli[n], -1.0f);
    }
  });
}

}  // namespace
}  // namespace quill
