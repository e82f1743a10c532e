// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_signature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <random>
#include <vector>

#include "image/test_picture.h"
#include "support/plain_moments.h"

namespace quill {
namespace {

using test::Picture;

std::vector<float> Thumbnail(const Picture& picture) {
  std::vector<float> thumbnail(kThumbnailSize, -1);
  EXPECT_TRUE(MakeThumbnail(picture.View(), thumbnail.data()));
  return thumbnail;
}

ImageExperimental* Quadrants(const std::vector<float>& thumbnail) {
  static ImageExperimental experimental;
  EXPECT_TRUE(CalculateQuadrants(thumbnail.data(), &experimental));
  return &experimental;
}

int32_t Byte(const CImageQuadrant& quadrant, int32_t row, int32_t column) {
  return quadrant.Values()[size_t(row * kQuadrantSide + column)];
}

// Columns in threes, of which the middle one is bright: the mean is a third, the centre all.
TEST(Thumbnail, SmallPicturesAreInterpolatedOthersAveraged) {
  const std::array<std::array<int32_t, 3>, 4> cases = {
      {{192, 64, 84}, {192, 63, 252}, {192, 500, 84}, {192, 2, 252}}};
  for (const auto& [width, height, grey] : cases) {
    for (const int32_t channels : {3, 4}) {
      Picture picture(width, height, channels);
      for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
          for (int32_t c = 0; c < channels; ++c)
            picture.At(x, y, c) = uint8_t(c == 3 ? x + y : x % 3 == 1 ? 252 : 0);
      const std::vector<float> thumbnail = Thumbnail(picture);
      EXPECT_EQ(thumbnail, std::vector<float>(kThumbnailSize, float(grey)))
          << width << "x" << height << "x" << channels;
    }
  }
}

// By the definition, in doubles.
std::vector<double> PlainSequence(const std::vector<float>& image, int32_t n, int32_t rows,
                                  bool byColumn) {
  const auto row = [&](int32_t r) {
    std::vector<float> values;
    for (int32_t i = 0; i < n; ++i)
      values.push_back(image[size_t(byColumn ? i * rows + r : r * n + i)]);
    return values;
  };
  std::vector<double> out(size_t(rows), 0.0);
  for (int32_t r = 1; r < rows; ++r) {
    const test::PlainMoments m(row(r - 1), row(r), size_t(n));
    if (std::sqrt(m.xx * m.yy) > 1e-6) out[size_t(r)] = m.Pearson();
  }
  const test::PlainMoments all(out.data() + 1, out.data() + 1, size_t(rows) - 1);
  const double mean = std::accumulate(out.begin(), out.end(), 0.0) / std::max(rows - 1, 1);
  for (size_t r = 1; r < out.size(); ++r)
    out[r] = (out[r] - mean) / (std::sqrt(all.xx) > 1e-6 ? std::sqrt(all.xx) : 1);
  return out;
}

TEST(Correlation, FollowsItsDefinition) {
  std::mt19937 random(2);
  const std::array<std::array<int32_t, 2>, 6> sizes = {
      {{64, 64}, {2, 2}, {1, 5}, {5, 1}, {30, 7}, {3, 100}}};
  for (const auto& [width, height] : sizes) {
    SCOPED_TRACE(testing::Message() << width << "x" << height);
    std::vector<float> image(size_t(width) * height);
    // One grey level apart in places: where rounded means would drown the difference.
    for (size_t i = 0; i < image.size(); ++i)
      image[i] = float(i % 5 ? 200 + random() % 2 : random() % 256);
    ImageContent content;
    ASSERT_TRUE(CalculateCorrelation(image.data(), width, height, &content));
    const std::vector<double> rows = PlainSequence(image, width, height, false);
    const std::vector<double> columns = PlainSequence(image, height, width, true);
    ASSERT_EQ(content.rows.size(), rows.size());
    ASSERT_EQ(content.columns.size(), columns.size());
    for (size_t i = 0; i < rows.size(); ++i) ASSERT_NEAR(content.rows[i], rows[i], 1e-5) << i;
    for (size_t i = 0; i < columns.size(); ++i)
      ASSERT_NEAR(content.columns[i], columns[i], 1e-5) << i;
  }
}

TEST(Correlation, FlatPicturesAndEqualRowsGiveZeros) {
  ImageContent content;
  std::vector<float> image(kThumbnailSize, 77);
  ASSERT_TRUE(CalculateCorrelation(image.data(), 64, 64, &content));
  EXPECT_EQ(content.rows, std::vector<float>(64, 0.0F));
  EXPECT_EQ(content.columns, std::vector<float>(64, 0.0F));
  for (size_t i = 0; i < image.size(); ++i) image[i] = float(i % 64 * 7 % 50);
  ASSERT_TRUE(CalculateCorrelation(image.data(), 64, 64, &content));
  for (const float value : content.rows) EXPECT_NEAR(value, 0, 1e-6);
  EXPECT_FALSE(CalculateCorrelation(nullptr, 64, 64, &content));
  EXPECT_FALSE(CalculateCorrelation(image.data(), 0, 64, &content));
}

// A single dot has all frequencies at one strength, so that the weights alone are left.
TEST(Quadrants, WeightsRiseStayAndFall) {
  std::vector<float> dot(kThumbnailSize, 0);
  dot[0] = 255;
  const ImageExperimental& made = *Quadrants(dot);
  const auto weight = [](int32_t k) {
    return k < 3 ? (k + 1) / 4.0 : k <= 16 ? 1.0 : (33 - k) / 17.0;
  };
  for (int32_t i = 0; i < kQuadrantSide; ++i) {
    for (int32_t j = 0; j < kQuadrantSide; ++j) {
      const double w = std::min(weight(i), weight(j));
      const double expected = std::min((w - 1 / 17.0) / (16 / 17.0) * 256, 255.0);
      ASSERT_NEAR(Byte(made.quadrant1, i, j), expected, 1.01) << i << " " << j;
      ASSERT_NEAR(Byte(made.quadrant2, i, j), expected, 1.01) << i << " " << j;
    }
  }
}

// Stripes that climb to the right lie in one quadrant, those that fall in the other, at the number
// of their turns.
TEST(Quadrants, StripesLieAtTheirFrequency) {
  for (const int32_t sign : {1, -1}) {
    std::vector<float> stripes(kThumbnailSize);
    for (int32_t y = 0; y < 64; ++y)
      for (int32_t x = 0; x < 64; ++x)
        stripes[size_t(y) * 64 + size_t(x)] =
            float(128 + 100 * std::cos(2 * std::numbers::pi * (5 * y + sign * 11 * x) / 64));
    const ImageExperimental& made = *Quadrants(stripes);
    const CImageQuadrant& with = sign > 0 ? made.quadrant1 : made.quadrant2;
    const CImageQuadrant& without = sign > 0 ? made.quadrant2 : made.quadrant1;
    EXPECT_EQ(Byte(with, 5, 11), 255);
    EXPECT_GT(Byte(with, 0, 0), 50);  // the mean
    EXPECT_EQ(Byte(without, 5, 11), 0);
    EXPECT_EQ(Byte(without, 0, 0), 255);
  }
}

TEST(Compress, StretchesTheRangeOfBytes) {
  struct Case {
    std::vector<float> values;
    std::vector<uint8_t> bytes;
  };
  const std::array<Case, 5> cases = {{{{2, 3, 4}, {0, 128, 255}},
                                      {{-1, 0, 3, 1}, {0, 64, 255, 128}},
                                      {{0.5F, 0.5F}, {128, 128}},
                                      {{300}, {255}},
                                      {{-2, -2}, {0, 0}}}};
  for (const Case& c : cases) {
    std::vector<float> values = c.values;
    std::vector<uint8_t> bytes(9, 9);
    ASSERT_TRUE(Compress(values, &bytes));
    EXPECT_EQ(bytes, c.bytes);
  }
}

}  // namespace
}  // namespace quill
