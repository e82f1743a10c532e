// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "inspection/axis_ticks.h"
#include "inspection/curve_shape.h"
#include "inspection/level_scale.h"
#include "inspection/sonogram_picture.h"

namespace quill {
namespace {

TEST(Drawing, DecibelsAsFractions) {
  EXPECT_DOUBLE_EQ(DecibelFraction(1), 1);
  EXPECT_NEAR(DecibelFraction(0.5F), 1 - 6.0206 / 150, 1e-6);
  EXPECT_EQ(DecibelFraction(kLeastLevel), 0);
  EXPECT_EQ(DecibelFraction(0), 0);
  EXPECT_EQ(DecibelFraction(std::numeric_limits<float>::quiet_NaN()), 0);
}

// An axis of 0 to `most` over the pixels 0 to 600, with labels of 12 pixels behind their tick.
AxisScale Scale(double most) {
  return {[most](double position) { return position / 600 * most; },
          [most](int value) { return value / most * 600; }, [](int) { return 0; },
          [](int) { return 12; }};
}

TEST(Drawing, TheRoundestValueStandsNearestTheMiddle) {
  const std::vector<AxisTick> ticks = AxisTicks(Scale(150), 20, 580);
  ASSERT_FALSE(ticks.empty());
  EXPECT_EQ(ticks[0].value, 100);
  EXPECT_EQ(AxisTicks(Scale(22050), 20, 580)[0].value, 10000);
  EXPECT_TRUE(AxisTicks(Scale(150), 100, 109).empty());
  for (const AxisTick& a : ticks) {
    EXPECT_GT(a.position, 20);
    EXPECT_LE(a.position + 12, 580);
    for (const AxisTick& b : ticks)
      EXPECT_TRUE(&a == &b || std::abs(a.position - b.position) >= 12) << "labels overlap";
  }
}

TEST(Drawing, CurvesAsBarsOrAsColumns) {
  const float levels[] = {1, 2, std::numeric_limits<float>::quiet_NaN(), 4, 5};
  const auto bars = CurveBars(levels, 5, 80);
  ASSERT_EQ(bars.size(), 5u);
  EXPECT_DOUBLE_EQ(bars[0].right, 10) << "half as wide as the others";
  EXPECT_DOUBLE_EQ(bars[1].right, 30);
  EXPECT_DOUBLE_EQ(bars[4].right, 80);
  EXPECT_EQ(bars[2].level, 0);
  std::vector<float> many(1000, 0.0F);
  many[501] = 7;
  const auto columns = CurveBars(many.data(), many.size(), 100);
  ASSERT_EQ(columns.size(), 100u);
  for (size_t x = 0; x < columns.size(); ++x) EXPECT_EQ(columns[x].level, x == 50 ? 7 : 0);
}

TEST(Drawing, SonogramPixelsFollowThePlainRule) {
  EXPECT_EQ(SonogramColour(0), 0xFF000000);
  EXPECT_EQ(SonogramColour(0.4999999), 0xFF0000FE);
  EXPECT_EQ(SonogramColour(0.5), 0xFF0000FF);
  EXPECT_EQ(SonogramColour(1), 0xFFFF0000);
  std::mt19937 random(3);
  std::uniform_real_distribution<float> exponent(-9, 0.2F);
  double drift = 0;
  size_t dark = 0;
  for (const size_t bins : {size_t{17}, size_t{513}}) {
    const size_t frames = 45;
    std::vector<float> values(frames * bins);
    for (float& value : values) value = std::pow(10.0F, exponent(random));
    for (const bool logarithmic : {false, true}) {
      constexpr int kWidth = 37, kHeight = 60;
      const size_t first = 20;
      std::vector<uint32_t> pixels(kWidth * kHeight);
      PaintSonogram(values.data(), frames, bins, first, kWidth, kHeight, logarithmic,
                    pixels.data());
      for (int x = 0; x < kWidth; ++x) {
        size_t begin = 0;
        for (int r = 1; r <= kHeight; ++r) {
          const double share = static_cast<double>(r) / kHeight;
          const double bin =
              logarithmic ? (std::exp(share * std::log(101.0)) - 1) * (bins / 100.0) : share * bins;
          const size_t end = std::min(static_cast<size_t>(bin), bins);
          double most = 0;
          for (size_t b = begin; b < end && first + x < frames; ++b)
            most = std::max(most, DecibelFraction(values[(first + x) * bins + b]));
          begin = std::max(begin, end);
          const uint32_t expected = SonogramColour(most);
          const uint32_t painted = pixels[static_cast<size_t>((kHeight - r) * kWidth + x)];
          for (const int shift : {0, 8, 16})
            EXPECT_NEAR((painted >> shift) & 255, (expected >> shift) & 255, 1);
          if (most > 0.01 && most < 0.49) {
            drift += static_cast<double>(painted & 255) - (expected & 255);
            ++dark;
          }
        }
      }
    }
  }
  EXPECT_GT(dark, 500u);
  EXPECT_NEAR(drift / static_cast<double>(dark), 0, 0.02) << "a table that leans to one side";
}

}  // namespace
}  // namespace quill
