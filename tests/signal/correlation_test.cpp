// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/correlation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "support/each_target.h"
#include "support/plain_moments.h"

namespace quill {
namespace {

TEST(Correlation, FloatsMatchThePlainSumWithZerosBehindTheEnd) {
  test::EachTarget([] {
    std::mt19937 random(2);
    std::uniform_real_distribution<float> uniform(-1, 1);
    for (int round = 0; round < 60; ++round) {
      const int32_t lengthA = 1 + static_cast<int32_t>(random() % 90);
      const int32_t lengthB = lengthA + static_cast<int32_t>(random() % 90);
      const int32_t outLength = 1 + static_cast<int32_t>(random() % (lengthB + 5));
      std::vector<float> a(lengthA), b(lengthB), dst(outLength);
      for (float& x : a) x = uniform(random);
      for (float& x : b) x = uniform(random);
      ASSERT_EQ(CrossCorr(a.data(), lengthA, b.data(), lengthB, dst.data(), outLength), kVecOk);
      for (int32_t k = 0; k < outLength; ++k) {
        double sum = 0;
        for (int32_t i = 0; i < lengthA && i + k < lengthB; ++i) sum += double{a[i]} * b[i + k];
        ASSERT_NEAR(dst[k], sum, 1e-5) << lengthA << " " << lengthB << " at " << k;
      }
    }
  });
}

TEST(Correlation, BytesAreExactAtOddSizesAndAcrossPieces) {
  struct Shape {
    int32_t pattern, offsets;
  };
  std::vector<Shape> shapes = {{1, 1}, {300, 338}, {300, 1}, {1, 700}, {1300, 3}, {513, 1025}};
  std::mt19937 random(3);
  for (int i = 0; i < 60; ++i)
    shapes.push_back(
        {1 + static_cast<int32_t>(random() % 140), 1 + static_cast<int32_t>(random() % 300)});
  test::EachTarget([&] {
    for (const auto [pattern, offsets] : shapes) {
      SCOPED_TRACE(testing::Message() << pattern << " at " << offsets);
      // Exactly as long as told: a sanitizer sees a read behind the end.
      std::vector<uint8_t> a(pattern), b(pattern + offsets - 1);
      const bool extreme = pattern % 2 != 0;
      for (uint8_t& x : a) x = static_cast<uint8_t>(extreme ? 255 - random() % 2 : random());
      for (uint8_t& x : b) x = static_cast<uint8_t>(extreme ? 255 - random() % 2 : random());
      std::vector<int32_t> dst(offsets + 1, -1);
      ASSERT_EQ(
          CrossCorrBytes(a.data(), pattern, b.data(), pattern + offsets - 1, dst.data(), offsets),
          kVecOk);
      for (int32_t k = 0; k < offsets; ++k) {
        int32_t sum = 0;
        for (int32_t i = 0; i < pattern; ++i) sum += a[i] * b[i + k];
        ASSERT_EQ(dst[k], sum) << "offset " << k;
      }
      EXPECT_EQ(dst[offsets], -1);
    }
  });
}

TEST(Correlation, BytesRefuseASeriesThatIsTooShort) {
  const uint8_t bytes[10] = {};
  int32_t dst[4] = {7, 7, 7, 7};
  EXPECT_LT(CrossCorrBytes(bytes, 7, bytes, 9, dst, 4), 0);
  EXPECT_LT(CrossCorrBytes(bytes, 0, bytes, 10, dst, 4), 0);
  EXPECT_EQ(dst[0], 7);
}

TEST(Pearson, MatchesTheFormulaAtEveryLength) {
  test::EachTarget([] {
    std::mt19937 random(4);
    std::normal_distribution<float> normal(100, 3);
    for (int32_t n = 2; n < 120; ++n) {
      std::vector<float> x(n), y(n);
      for (float& value : x) value = normal(random);
      for (int32_t i = 0; i < n; ++i) y[i] = x[i] * 0.5f + normal(random);
      const double plain = test::PlainMoments(x, y, static_cast<size_t>(n)).Pearson();
      EXPECT_NEAR(CorrelatePearson(x.data(), y.data(), n), plain, 1e-6);
      EXPECT_NEAR(CorrelatePearson(x.data(), x.data(), n), 1.0f, 1e-6);
      for (float& value : y) value = -value;
      EXPECT_NEAR(CorrelatePearson(x.data(), y.data(), n), -plain, 1e-6);
    }
  });
}

// 0.1 has no exact binary form: sums of it, taken about 0, leave a false deviation.
TEST(Pearson, ConstantVectorsMatchEachOtherAndNothingElse) {
  test::EachTarget([] {
    for (const int32_t n : {1, 2, 3, 7, 100, 2048}) {
      const std::vector<float> tenth(n, 0.1f), large(n, 12345.678f);
      std::vector<float> varying(n);
      for (int32_t i = 0; i < n; ++i) varying[i] = static_cast<float>(i);
      EXPECT_EQ(CorrelatePearson(tenth.data(), large.data(), n), 1.0f);
      EXPECT_EQ(CorrelatePearson(tenth.data(), varying.data(), n), n == 1 ? 1.0f : 0.0f);
      EXPECT_EQ(CorrelatePearson(varying.data(), large.data(), n), n == 1 ? 1.0f : 0.0f);
    }
  });
}

TEST(Pearson, BadArgumentsAndValuesScoreNothing) {
  const float x[] = {1, 2, 3};
  const float broken[] = {1, INFINITY, 3};
  EXPECT_EQ(CorrelatePearson(nullptr, x, 3), 0.0f);
  EXPECT_EQ(CorrelatePearson(x, nullptr, 3), 0.0f);
  EXPECT_EQ(CorrelatePearson(x, x, 0), 0.0f);
  EXPECT_EQ(CorrelatePearson(x, broken, 3), 0.0f);
}

}  // namespace
}  // namespace quill
