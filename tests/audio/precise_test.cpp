// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/precise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "support/each_target.h"
#include "support/plain_moments.h"

namespace quill {
namespace {

// The formula in plain double loops.
double PlainPearson(const uint8_t* x, const uint8_t* y, int32_t n, double leastVariance) {
  const test::PlainMoments m(x, y, static_cast<size_t>(n));
  return m.xy / std::sqrt(std::max(m.xx, leastVariance) * std::max(m.yy, leastVariance));
}

SweepResult PlainSweep(const BarkPrint& series, const BarkPrint& pattern) {
  std::vector<double> curve(series.length - kBarkPattern + 1);
  double peaks = 0;
  for (int32_t band = 0; band < kBarkBands; ++band) {
    const uint8_t* middle = pattern.Band(band) + (pattern.length - kBarkPattern) / 2;
    double peak = 0;
    for (size_t k = 0; k < curve.size(); ++k) {
      const double r = PlainPearson(series.Band(band) + k, middle, kBarkPattern, 1e-6);
      curve[k] += std::clamp(r, 0.0, 1.0);
      peak = std::max(peak, std::clamp(r, 0.0, 1.0));
    }
    peaks += peak;
  }
  return {static_cast<float>(peaks / kBarkBands),
          static_cast<float>(*std::max_element(curve.begin(), curve.end()) / kBarkBands)};
}

using Random = std::mt19937;

// Two prints alike in part: noise about a slow drift, the second a shifted and disturbed copy.
void FillPair(Random& random, BarkPrint* a, BarkPrint* b) {
  const int32_t shift = static_cast<int32_t>(random() % 100);
  for (int32_t band = 0; band < kBarkBands; ++band) {
    std::vector<uint8_t> source(kBarkLongest + 100);
    double drift = 128;
    for (uint8_t& x : source) {
      drift = std::clamp(drift + static_cast<double>(random() % 41) - 20, 0.0, 255.0);
      x = static_cast<uint8_t>(drift);
    }
    for (int32_t i = 0; i < a->length; ++i) a->Band(band)[i] = source[i];
    for (int32_t i = 0; i < b->length; ++i)
      b->Band(band)[i] = random() % 3 ? source[i + shift] : static_cast<uint8_t>(random());
  }
}

std::unique_ptr<BarkData> Data(const BarkPrint& print) {
  auto data = std::make_unique<BarkData>();
  EXPECT_TRUE(Precalculate(print, data.get()));
  return data;
}

float Score(const BarkPrint& target, const BarkPrint& candidate) {
  return ScoreBarks(*Data(target), *Data(candidate));
}

SweepResult Sweep(const BarkPrint& series, const BarkPrint& pattern) {
  SweepResult result;
  EXPECT_TRUE(SweepBarks(*Data(series), *Data(pattern), &result));
  return result;
}

void ExpectPlainSweeps(int32_t lengthA, int32_t lengthB, Random& random) {
  SCOPED_TRACE(testing::Message() << lengthA << " and " << lengthB);
  BarkPrint a, b;
  a.length = lengthA;
  b.length = lengthB;
  FillPair(random, &a, &b);
  const SweepResult plainFirst = PlainSweep(a, b), plainSecond = PlainSweep(b, a);
  for (const auto& [is, plain] : {std::pair{Sweep(a, b), plainFirst}, {Sweep(b, a), plainSecond}}) {
    EXPECT_NEAR(is.peakMean, plain.peakMean, 1e-5);
    EXPECT_NEAR(is.curvePeak, plain.curvePeak, 1e-5);
  }
  const float s = plainFirst.curvePeak + plainSecond.curvePeak;
  const float m = plainFirst.peakMean + plainSecond.peakMean;
  EXPECT_NEAR(Score(a, b), s * s / 2 / m, 1e-5);
  EXPECT_FLOAT_EQ(Score(a, b), Score(b, a));
}

TEST(ScoreBarks, MatchesThePlainFormulaAtAllLengths) {
  Random random(1);
  for (int32_t length = kBarkPattern; length <= kBarkLongest; length += 3)
    ExpectPlainSweeps(length, kBarkPattern + static_cast<int32_t>(random() % kBarkOffsets), random);
  test::EachTarget([&] {
    for (const int32_t length : {300, 301, 315, 363, 499, 636, 637})
      ExpectPlainSweeps(length, 937 - length, random);
  });
}

TEST(ScoreBarks, AFlatBandMatchesNothingNotEvenAFlatOne) {
  Random random(4);
  BarkPrint sound, other, silent, level;
  sound.length = other.length = silent.length = level.length = kBarkLongest;
  FillPair(random, &sound, &other);
  for (int32_t band = 0; band < kBarkBands; ++band)
    std::fill_n(level.Band(band), 637, uint8_t{255});
  EXPECT_EQ(Score(silent, silent), 0.0f);
  EXPECT_EQ(Score(silent, level), 0.0f);
  EXPECT_EQ(Score(level, sound), 0.0f);
  // One flat band of twelve takes its twelfth, and no more.
  std::fill_n(sound.Band(5), sound.length, uint8_t{0});
  EXPECT_NEAR(Score(sound, sound), 11.0f / 12, 1e-6);
}

TEST(ScoreBarks, RowsOfABlockGiveTheSameAsAPrint) {
  Random random(5);
  BarkPrint a, b;
  a.length = 637;
  b.length = 430;
  FillPair(random, &a, &b);
  // On the heap, for a sanitizer to see a read behind the last row.
  const std::vector<uint8_t> rowsA(a.rows.begin(), a.rows.end());
  const std::vector<uint8_t> rowsB(b.rows.begin(), b.rows.end());
  const auto dataA = std::make_unique<BarkData>(), dataB = std::make_unique<BarkData>();
  ASSERT_TRUE(CheckPrecalculate(rowsA.data(), 637, dataA.get()));
  ASSERT_TRUE(CheckPrecalculate(rowsB.data(), 430, dataB.get()));
  EXPECT_EQ(ScoreBarks(*dataA, *dataB), Score(a, b));
}

TEST(ScoreBarks, LengthsOutOfRangeAreRefused) {
  BarkPrint print;
  const auto data = std::make_unique<BarkData>();
  for (const int32_t length : {0, 299, 638}) {
    print.length = length;
    EXPECT_FALSE(Precalculate(print, data.get()));
    EXPECT_FALSE(CheckPrecalculate(print.rows.data(), length, data.get()));
  }
}

TEST(SlidingPearson, MatchesThePlainFormulaAndItsRulesForConstants) {
  test::EachTarget([] {
    Random random(6);
    CFloatVector values;
    for (int round = 0; round < 80; ++round) {
      const int32_t m = 1 + static_cast<int32_t>(random() % 400);
      const int32_t n = m + static_cast<int32_t>(random() % (round % 20 ? 80 : 1100));
      SCOPED_TRACE(testing::Message() << n << " and " << m);
      std::vector<uint8_t> series(n), pattern(m);
      for (uint8_t& x : series) x = static_cast<uint8_t>(random());
      for (uint8_t& x : pattern) x = static_cast<uint8_t>(random());
      if (round % 3 == 0) std::fill_n(series.begin(), std::min(n, m + 5), uint8_t{77});
      if (round % 4 == 0) std::fill(pattern.begin(), pattern.end(), uint8_t{200});
      const auto constant = [m](const uint8_t* x) {
        return std::all_of(x, x + m, [x](uint8_t y) { return y == x[0]; });
      };
      ASSERT_TRUE(CorrelatePearson(series.data(), n, pattern.data(), m, &values));
      ASSERT_EQ(values.size(), static_cast<size_t>(n - m + 1));
      for (int32_t k = 0; k <= n - m; ++k) {
        const uint8_t* x = series.data() + k;
        const double expected = constant(pattern.data()) ? (constant(x) ? 1 : 0)
                                : constant(x)            ? 0
                                                         : PlainPearson(x, pattern.data(), m, 0);
        ASSERT_NEAR(values[k], expected, 1e-5) << k;
      }
    }
  });
  const uint8_t bytes[4] = {1, 2, 3, 4};
  CFloatVector values;
  EXPECT_FALSE(CorrelatePearson(bytes, 2, bytes, 3, &values));
  EXPECT_FALSE(CorrelatePearson(bytes, 2, bytes, 0, &values));
  EXPECT_FALSE(CorrelatePearson(nullptr, 2, bytes, 1, &values));
}

CorrelogramPrint* MakeCorrelogram(Random& random, int32_t length) {
  auto* print = new CorrelogramPrint;
  print->values.resize(static_cast<size_t>(kCorrelogramBands) * length);
  for (uint8_t& x : print->values) x = static_cast<uint8_t>(random());
  return print;
}

TEST(ScoreCorrelogram, FindsAPieceWhicheverComesFirst) {
  Random random(7);
  const CRef<CorrelogramPrint> whole(MakeCorrelogram(random, 400));
  const CRef<CorrelogramPrint> piece(MakeCorrelogram(random, 150));
  EXPECT_LT(ScoreCorrelogram(*whole, *piece), 0.05f);
  for (int32_t band = 0; band < kCorrelogramBands; ++band)
    std::copy_n(whole->values.begin() + band * 400 + 100, 150, piece->values.begin() + band * 150);
  EXPECT_NEAR(ScoreCorrelogram(*whole, *piece), 1.0f, 1e-5);
  EXPECT_NEAR(ScoreCorrelogram(*piece, *whole), 1.0f, 1e-5);
  EXPECT_NEAR(ScoreCorrelogram(*piece, *piece), 1.0f, 1e-5);
}

// With one offset the agreement is 1 wherever the mean is positive, so the score is its square.
TEST(ScoreCorrelogram, EqualLengthsGiveTheSquareOfTheBandMean) {
  Random random(8);
  const CRef<CorrelogramPrint> a(MakeCorrelogram(random, 90)), b(MakeCorrelogram(random, 90));
  for (size_t i = 0; i < a->values.size(); ++i)
    if (random() % 2) b->values[i] = a->values[i];
  // A flat band of the pattern is a full match for a flat band, and none for any other.
  std::fill_n(a->values.begin() + 3 * 90, 90, uint8_t{9});
  std::fill_n(b->values.begin() + 3 * 90, 90, uint8_t{0});
  std::fill_n(b->values.begin() + 4 * 90, 90, uint8_t{255});
  double mean = 0;
  for (int32_t band = 0; band < kCorrelogramBands; ++band) {
    const uint8_t* x = a->values.data() + band * 90;
    const uint8_t* y = b->values.data() + band * 90;
    const double pearson = band == 3 ? 1 : band == 4 ? 0 : PlainPearson(x, y, 90, 0);
    mean += pearson / kCorrelogramBands;
  }
  EXPECT_NEAR(ScoreCorrelogram(*a, *b), mean * mean, 1e-5);
}

// Anti-phase bands have a negative mean: no score, rather than its square.
TEST(ScoreCorrelogram, OppositesScoreNothing) {
  Random random(9);
  const CRef<CorrelogramPrint> a(MakeCorrelogram(random, 90)), b(MakeCorrelogram(random, 90));
  for (size_t i = 0; i < a->values.size(); ++i) b->values[i] = 255 - a->values[i];
  EXPECT_EQ(ScoreCorrelogram(*a, *b), 0.0f);
  const CRef<CorrelogramPrint> empty(new CorrelogramPrint);
  EXPECT_EQ(ScoreCorrelogram(*a, *empty), 0.0f);
}

// Bands that peak at different offsets have high peaks of their own and a low common curve.
TEST(ScoreBarks, BandsThatDisagreeOnTheOffsetArePunished) {
  Random random(3);
  BarkPrint a, b;
  a.length = b.length = kBarkLongest;
  for (int32_t band = 0; band < kBarkBands; ++band)
    std::generate_n(a.Band(band), a.length, [&] { return static_cast<uint8_t>(random()); });
  for (int32_t band = 0; band < kBarkBands; ++band)
    for (int32_t i = 0; i < b.length; ++i)
      b.Band(band)[i] = a.Band(band)[(i + 10 * band) % a.length];
  const auto dataA = std::make_unique<BarkData>(), dataB = std::make_unique<BarkData>();
  ASSERT_TRUE(Precalculate(a, dataA.get()));
  ASSERT_TRUE(Precalculate(b, dataB.get()));
  SweepResult sweep;
  ASSERT_TRUE(SweepBarks(*dataA, *dataB, &sweep));
  EXPECT_NEAR(sweep.peakMean, 1.0f, 1e-6);
  EXPECT_LT(sweep.curvePeak, 0.3f);
  EXPECT_LT(ScoreBarks(*dataA, *dataB), 0.1f);
}

TEST(ScoreBarks, TheSameSoundScoresOneAndAPieceOfItPeaks) {
  Random random(2);
  BarkPrint whole, copy, piece;
  whole.length = copy.length = kBarkLongest;
  piece.length = 315;
  FillPair(random, &whole, &copy);
  EXPECT_NEAR(Score(whole, whole), 1.0f, 1e-6);
  for (int32_t band = 0; band < kBarkBands; ++band)
    std::copy_n(whole.Band(band) + 200, piece.length, piece.Band(band));
  const auto a = std::make_unique<BarkData>(), b = std::make_unique<BarkData>();
  ASSERT_TRUE(Precalculate(whole, a.get()));
  ASSERT_TRUE(Precalculate(piece, b.get()));
  SweepResult sweep;
  ASSERT_TRUE(SweepBarks(*a, *b, &sweep));
  EXPECT_NEAR(sweep.peakMean, 1.0f, 1e-6);
  EXPECT_NEAR(sweep.curvePeak, 1.0f, 1e-6);
}

}  // namespace
}  // namespace quill
