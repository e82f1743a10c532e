// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/picture_ops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace quill {
namespace {

struct Picture {
  Picture(int32_t width, int32_t height, int32_t channels, uint32_t seed)
      : pixels(size_t(height) * (size_t(width) * channels + seed % 7)) {
    std::mt19937 random(seed);
    // Some pictures in the two darkest or brightest values, where sums are at their limits.
    const uint32_t kind = seed % 3;
    for (uint8_t& x : pixels)
      x = static_cast<uint8_t>(kind == 0   ? random()
                               : kind == 1 ? 255 - random() % 2
                                           : random() % 2);
    view = {pixels.data(), width, height, channels, size_t(width) * channels + seed % 7};
  }
  [[nodiscard]] double At(int32_t x, int32_t y, int32_t c) const {
    return pixels[size_t(y) * view.rowStep + size_t(x) * view.channels + c];
  }
  std::vector<uint8_t> pixels;
  PictureView view;
};

// The share of [i, i + 1) in the part of a side of `m` pixels that belongs to `target` of `n`.
std::vector<std::pair<int32_t, double>> Shares(int32_t target, int32_t n, int32_t m) {
  const double begin = double(target) * m / n;
  const double end = double(target + 1) * m / n;
  std::vector<std::pair<int32_t, double>> shares;
  for (auto i = int32_t(begin); i < m && i < end; ++i)
    shares.emplace_back(i, std::min<double>(end, i + 1) - std::max<double>(begin, i));
  return shares;
}

double PlainAverage(const Picture& picture, int32_t x, int32_t y, int32_t c, int32_t width,
                    int32_t height) {
  double sum = 0;
  double area = 0;
  for (const auto& [i, high] : Shares(y, height, picture.view.height)) {
    for (const auto& [j, wide] : Shares(x, width, picture.view.width)) {
      sum += high * wide * picture.At(j, i, c);
      area += high * wide;
    }
  }
  return sum / area;
}

double PlainLinear(const Picture& picture, int32_t x, int32_t y, int32_t c, int32_t width,
                   int32_t height) {
  const int32_t w = picture.view.width;
  const int32_t h = picture.view.height;
  const double u = (x + 0.5) * w / width - 0.5;
  const double v = (y + 0.5) * h / height - 0.5;
  const auto at = [&](double i, double j) {
    return picture.At(std::clamp(int32_t(i), 0, w - 1), std::clamp(int32_t(j), 0, h - 1), c);
  };
  const double left = std::floor(u), top = std::floor(v), a = u - left, b = v - top;
  return (1 - b) * ((1 - a) * at(left, top) + a * at(left + 1, top)) +
         b * ((1 - a) * at(left, top + 1) + a * at(left + 1, top + 1));
}

// Rounded once: no result is further than half a step from the exact value.
template <class Resize, class Plain>
void ExpectPlain(const Picture& picture, int32_t width, int32_t height, Resize resize,
                 Plain plain) {
  const int32_t channels = picture.view.channels;
  SCOPED_TRACE(testing::Message() << picture.view.width << "x" << picture.view.height << "x"
                                  << channels << " to " << width << "x" << height);
  std::vector<uint8_t> made(size_t(width) * height * channels + 1, 77);
  ASSERT_EQ(resize(picture.view, made.data(), width, height), kVecOk);
  EXPECT_EQ(made.back(), 77);
  double worst = 0;
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x)
      for (int32_t c = 0; c < channels; ++c)
        worst = std::max(worst, std::fabs(made[(size_t(y) * width + x) * channels + c] -
                                          plain(picture, x, y, c, width, height)));
  EXPECT_LE(worst, 0.5 + 1e-9);
}

TEST(PictureAverage, IsTheMeanOfWhatAPixelCovers) {
  const std::array<std::array<int32_t, 2>, 6> sizes = {
      {{64, 64}, {65, 64}, {64, 127}, {128, 192}, {1000, 67}, {1400, 900}}};
  uint32_t seed = 0;
  for (const auto& [width, height] : sizes)
    for (const int32_t channels : {3, 4})
      ExpectPlain(Picture(width, height, channels, seed++), 64, 64, PictureAverage, PlainAverage);
  ExpectPlain(Picture(4000, 3000, 3, 1), 64, 64, PictureAverage, PlainAverage);
  std::mt19937 random(7);
  const auto side = [&](int32_t most) { return 1 + int32_t(random() % uint32_t(most)); };
  for (int round = 0; round < 100; ++round)
    ExpectPlain(Picture(side(90), side(1500), 3 + round % 2, seed++), side(40), side(20),
                PictureAverage, PlainAverage);
}

TEST(PictureLinear, WeighsTheNeighbours) {
  const std::array<std::array<int32_t, 2>, 6> sizes = {
      {{64, 64}, {63, 500}, {1000, 2}, {2, 2}, {40, 30}, {3, 4000}}};
  uint32_t seed = 0;
  for (const auto& [width, height] : sizes)
    for (const int32_t channels : {3, 4})
      ExpectPlain(Picture(width, height, channels, seed++), 64, 64, PictureLinear, PlainLinear);
}

TEST(PictureResize, HalvesGoUpAndUnequalSharesCount) {
  std::vector<uint8_t> pixels(size_t{2} * 3, 0);
  std::fill_n(pixels.begin() + 3, 3, uint8_t{1});
  const PictureView view = {pixels.data(), 2, 1, 3, 6};
  std::array<uint8_t, 9> made{};
  ASSERT_EQ(PictureAverage(view, made.data(), 1, 1), kVecOk);
  EXPECT_EQ(made[0], 1);
  ASSERT_EQ(PictureLinear(view, made.data(), 1, 1), kVecOk);
  EXPECT_EQ(made[0], 1);
  pixels = {0, 30, 90, 90, 90, 0};
  ASSERT_EQ(PictureAverage(view, made.data(), 3, 1), kVecOk);
  EXPECT_EQ(made, (std::array<uint8_t, 9>{0, 30, 90, 45, 60, 45, 90, 90, 0}));
}

TEST(PictureResize, ImpossibleSizesAreRefused) {
  std::vector<uint8_t> pixels(256, 9);
  std::array<uint8_t, 64> made{};
  const PictureView sound = {pixels.data(), 8, 4, 3, 24};
  PictureView none = sound, wide = sound, empty = sound, grey = sound, narrow = sound;
  none.pixels = nullptr;
  wide.width = kLongestSourceSide + 1;
  wide.rowStep = size_t{4} * wide.width;
  empty.height = 0;
  grey.channels = 1;
  narrow.rowStep = 23;
  for (const auto resize : {PictureAverage, PictureLinear}) {
    for (const PictureView& bad : {none, wide, empty, grey, narrow})
      EXPECT_LT(resize(bad, made.data(), 4, 4), 0);
    EXPECT_LT(resize(sound, nullptr, 4, 4), 0);
    EXPECT_LT(resize(sound, made.data(), 0, 4), 0);
    EXPECT_LT(resize(sound, made.data(), 1, kLongestTargetSide + 1), 0);
    EXPECT_EQ(made[0], 0);
    EXPECT_EQ(resize(sound, made.data(), 4, 4), kVecOk);
    made.fill(0);
  }
}

TEST(PictureGrey, WeighsTheColoursAndLeavesAlphaOut) {
  const std::array<uint8_t, 16> pixels = {255, 0, 0,   9, 0,   255, 0,   99,
                                          0,   0, 250, 0, 255, 255, 255, 1};
  std::array<uint8_t, 4> grey{};
  ASSERT_EQ(PictureGrey(pixels.data(), 4, grey.data(), 4), kVecOk);
  EXPECT_EQ(grey, (std::array<uint8_t, 4>{76, 150, 29, 255}));  // 28.5 goes up
  ASSERT_EQ(PictureGrey(pixels.data(), 3, grey.data(), 2), kVecOk);
  EXPECT_EQ(grey[1], 32);  // 9, 0, 255
  EXPECT_LT(PictureGrey(pixels.data(), 1, grey.data(), 4), 0);
}

TEST(PictureTranspose, SwapsRowsAndColumns) {
  const std::array<float, 6> picture = {1, 2, 3, 4, 5, 6};
  std::array<float, 6> turned{};
  ASSERT_EQ(PictureTranspose(picture.data(), 3, 2, turned.data()), kVecOk);
  EXPECT_EQ(turned, (std::array<float, 6>{1, 4, 2, 5, 3, 6}));
}

// By rows, then by columns, of the definition.
TEST(PictureMagnitudes, MatchADirectTransform) {
  constexpr int32_t n = kTransformSide;
  using Complex = std::complex<double>;
  std::mt19937 random(3);
  std::vector<float> picture(size_t{n} * n);
  for (float& x : picture) x = static_cast<float>(random() % 256);
  const auto turn = [](int32_t k) { return std::polar(1.0, -2 * std::numbers::pi * k / n); };
  std::vector<Complex> half(picture.size());
  std::vector<float> magnitudes(picture.size());
  ASSERT_EQ(PictureMagnitudes(picture.data(), magnitudes.data()), kVecOk);
  for (int32_t y = 0; y < n; ++y)
    for (int32_t u = 0; u < n; ++u)
      for (int32_t x = 0; x < n; ++x)
        half[size_t(y) * n + u] += double{picture[size_t(y) * n + x]} * turn(u * x % n);
  for (int32_t v = 0; v < n; ++v) {
    for (int32_t u = 0; u < n; ++u) {
      Complex sum = 0;
      for (int32_t y = 0; y < n; ++y) sum += half[size_t(y) * n + u] * turn(v * y % n);
      ASSERT_NEAR(magnitudes[size_t(v) * n + u], std::abs(sum) / (n * n), 1e-4) << v << " " << u;
    }
  }
}

}  // namespace
}  // namespace quill
