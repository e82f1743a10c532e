// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures made on the spot, the same for the same seed.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "image/image_signature.h"
#include "image/image_store.h"

namespace quill::test {

struct Picture {
  int32_t width = 0, height = 0, channels = 3;
  std::vector<uint8_t> pixels;

  Picture(int32_t wide, int32_t high, int32_t samples = 3)
      : width(wide), height(high), channels(samples), pixels(size_t(wide) * high * samples) {}
  uint8_t& At(int32_t x, int32_t y, int32_t c) {
    return pixels[(size_t(y) * width + x) * channels + c];
  }
  [[nodiscard]] uint8_t At(int32_t x, int32_t y, int32_t c) const {
    return pixels[(size_t(y) * width + x) * channels + c];
  }
  [[nodiscard]] PictureView View() const {
    return {pixels.data(), width, height, channels, size_t(width) * channels};
  }
  [[nodiscard]] std::string Bytes() const { return {pixels.begin(), pixels.end()}; }
};

// Soft light and texture at all scales, as in a photograph, with some things in front.
inline Picture Photograph(uint32_t seed, int32_t width = 300, int32_t height = 220) {
  std::mt19937 random(seed);
  const auto uniform = [&] { return random() / 4294967296.0; };
  Picture picture(width, height);
  std::vector<double> light(size_t(width) * height, 120);
  for (int wave = 0; wave < 60; ++wave) {
    const double turns = std::exp(uniform() * 3.2);
    const double angle = uniform() * 2 * std::numbers::pi;
    const double phase = uniform() * 2 * std::numbers::pi;
    const double u = std::cos(angle) * turns * 2 * std::numbers::pi / width;
    const double v = std::sin(angle) * turns * 2 * std::numbers::pi / height;
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = 0; x < width; ++x)
        light[size_t(y) * width + x] += 30 / turns * std::cos(u * x + v * y + phase);
  }
  for (int thing = 0; thing < 9; ++thing) {
    const double x0 = uniform() * width, y0 = uniform() * height;
    const double wide = (0.05 + 0.2 * uniform()) * width, high = (0.05 + 0.2 * uniform()) * height;
    const double shade = uniform() * 200 - 100;
    const bool isRound = random() % 2 != 0;
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t x = 0; x < width; ++x) {
        const double a = std::fabs(x - x0) / wide, b = std::fabs(y - y0) / high;
        if (isRound ? a * a + b * b < 1 : std::max(a, b) < 1) light[size_t(y) * width + x] += shade;
      }
    }
  }
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x)
      for (int32_t c = 0; c < 3; ++c)
        picture.At(x, y, c) = static_cast<uint8_t>(
            std::clamp(light[size_t(y) * width + x] + 12 * c - 12, 0.0, 255.0));
  return picture;
}

// The eight ways to lay a picture: bit 0 mirrors it, bit 1 puts it upside down, bit 2 exchanges
// rows and columns.
inline Picture Oriented(const Picture& picture, int way) {
  const bool turns = (way & 4) != 0;
  Picture other(turns ? picture.height : picture.width, turns ? picture.width : picture.height,
                picture.channels);
  for (int32_t y = 0; y < other.height; ++y) {
    for (int32_t x = 0; x < other.width; ++x) {
      const int32_t u = turns ? y : x;
      const int32_t v = turns ? x : y;
      for (int32_t c = 0; c < picture.channels; ++c)
        other.At(x, y, c) = picture.At(way & 1 ? picture.width - 1 - u : u,
                                       way & 2 ? picture.height - 1 - v : v, c);
    }
  }
  return other;
}

inline Picture Flat(uint8_t level, int32_t width = 80, int32_t height = 70) {
  Picture picture(width, height);
  std::fill(picture.pixels.begin(), picture.pixels.end(), level);
  return picture;
}

inline CRef<const ImageInfo> Info(const std::string& path) {
  auto info = MakeRef<ImageInfo>();
  info->path = path;
  info->width = 640;
  info->height = 480;
  info->format = 4;
  info->bits = 24;
  info->modified = 1700000000;
  info->size = 5000000000;
  return info;
}

// What the engine files for a picture at this path.
inline ImageEntry Entry(const std::string& path, const Picture& picture) {
  std::vector<float> thumbnail(kThumbnailSize);
  ImageEntry parts;
  parts.info = Info(path);
  const auto content = MakeRef<ImageContent>();
  const auto experimental = MakeRef<ImageExperimental>();
  if (!MakeThumbnail(picture.View(), thumbnail.data()) ||
      !CalculateCorrelation(thumbnail.data(), kThumbnailSide, kThumbnailSide, content.Get()) ||
      !CalculateQuadrants(thumbnail.data(), experimental.Get()))
    return parts;
  parts.content = content;
  parts.experimental = experimental;
  return parts;
}

}  // namespace quill::test
