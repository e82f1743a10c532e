// SPDX-License-Identifier: GPL-3.0-or-later
// The image engine behind the decoder: what a picture's signatures cost, what the store holds of
// it, and what it costs to compare one new picture with 10000 stored ones, both scores, against
// plain loops in float. Goals: 4 KiB a picture, an eighth of the plain loops' time.
#include <malloc.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "image/image_comparer.h"
#include "image/image_signature.h"

namespace quill {
namespace {

constexpr uint32_t kFiles = 10000;
constexpr double kGoalKiB = 4;
constexpr double kGoalRatio = 8;

double Milliseconds(auto work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

size_t BytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

ImageEntry Describe(const std::string& path, const PictureView& picture) {
  ImageEntry parts;
  const auto info = MakeRef<ImageInfo>();
  info->path = path;
  parts.info = info;
  std::array<float, kThumbnailSize> thumbnail;
  const auto content = MakeRef<ImageContent>();
  const auto experimental = MakeRef<ImageExperimental>();
  if (MakeThumbnail(picture, thumbnail.data()) &&
      CalculateCorrelation(thumbnail.data(), kThumbnailSide, kThumbnailSide, content.Get()) &&
      CalculateQuadrants(thumbnail.data(), experimental.Get())) {
    parts.content = content;
    parts.experimental = experimental;
  }
  return parts;
}

std::vector<uint8_t> Noise(size_t bytes, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> pixels(bytes);
  uint8_t last = 0;
  for (uint8_t& x : pixels) x = last = static_cast<uint8_t>(last + random() % 32 - 15);
  return pixels;
}

// The plain way: floats, one sum after the other.
struct Plain {
  using Floats = std::vector<float>;

  static float Dot(const float* a, const float* b, size_t n) {
    float sum = 0;
    for (size_t i = 0; i < n; ++i) sum += a[i] * b[i];
    return sum;
  }
  static float DotBack(const float* a, const float* b, size_t n) {
    float sum = 0;
    for (size_t i = 0; i < n; ++i) sum += a[i] * b[n - 1 - i];
    return sum;
  }
  static float Content(const ImageContent& x, const ImageContent& y) {
    const size_t m = x.rows.size() - 1;
    const float *r1 = x.rows.data() + 1, *c1 = x.columns.data() + 1;
    const float *r2 = y.rows.data() + 1, *c2 = y.columns.data() + 1;
    const auto mean = [m](float sum) { return std::max(sum / static_cast<float>(m), 0.0F); };
    const float a = mean(Dot(r1, r2, m)), b = mean(Dot(r1, c2, m)), c = mean(Dot(c1, r2, m));
    const float d = mean(Dot(c1, c2, m)), e = mean(DotBack(r1, r2, m));
    const float f = mean(DotBack(c1, r2, m)), g = mean(DotBack(r1, c2, m));
    const float h = mean(DotBack(c1, c2, m));
    return std::min(std::max({0.0F, a * d, a * h, b * c, b * f, d * e, e * h, c * g, f * g}), 1.0F);
  }

  static double Pearson(const Floats& a, const Floats& b) {
    const auto n = static_cast<double>(a.size());
    Floats square(a.size());
    const auto spread = [&](const Floats& x, double* sum) {
      float total = 0, squares = 0;
      for (size_t i = 0; i < x.size(); ++i) square[i] = x[i] * x[i];
      for (size_t i = 0; i < x.size(); ++i) total += x[i];
      for (size_t i = 0; i < x.size(); ++i) squares += square[i];
      *sum = total;
      return std::sqrt(std::max(n * squares - *sum * *sum, 0.0));
    };
    double sumA = 0, sumB = 0;
    const double da = spread(a, &sumA), db = spread(b, &sumB);
    if (da == 0 || db == 0) return da == db ? 1 : 0;
    const double dot = Dot(a.data(), b.data(), a.size());
    return std::clamp((n * dot - sumA * sumB) / (da * db), -1.0, 1.0);
  }
  static Floats Decompress(const CImageQuadrant& quadrant) {
    return {quadrant.Values().begin(), quadrant.Values().end()};
  }
  static Floats Transpose(const Floats& quadrant) {
    Floats turned(quadrant.size());
    for (size_t i = 0; i < quadrant.size(); ++i)
      turned[i % kQuadrantSide * kQuadrantSide + i / kQuadrantSide] = quadrant[i];
    return turned;
  }
  static float Experimental(const std::array<Floats, 4>& first, const ImageExperimental& other) {
    const Floats p1 = Decompress(other.quadrant1), p2 = Decompress(other.quadrant2);
    double best = std::max(Pearson(first[0], p1) * Pearson(first[1], p2), 0.0);
    best = std::max(Pearson(first[0], p2) * Pearson(first[1], p1), best);
    best = std::max(Pearson(first[2], p1) * Pearson(first[3], p2), best);
    best = std::max(Pearson(first[2], p2) * Pearson(first[3], p1), best);
    return static_cast<float>(std::pow(best, 10));
  }
};

class CCollector : public CImagePairSink {
 public:
  bool LockedAdd(Found pair) override {
    m_content.push_back(pair.scores[ImageScores::kContent]);
    m_experimental.push_back(pair.scores[ImageScores::kExperimental]);
    return true;
  }
  std::vector<float> m_content, m_experimental;
};

bool Fingerprint() {
  constexpr int32_t kWidth = 4000;
  constexpr int32_t kHeight = 3000;
  const std::vector<uint8_t> pixels = Noise(size_t{kWidth} * kHeight * 3, 1);
  const PictureView picture = {pixels.data(), kWidth, kHeight, 3, size_t{kWidth} * 3};
  std::array<float, kThumbnailSize> thumbnail;
  double resize = 1e9, signatures = 1e9, plain = 1e9;
  bool made = true;
  volatile double sink = 0;
  for (int round = 0; round < 10; ++round) {
    resize = std::min(
        resize, Milliseconds([&] { made = made && MakeThumbnail(picture, thumbnail.data()); }));
    signatures = std::min(signatures, Milliseconds([&] {
                            ImageContent content;
                            ImageExperimental experimental;
                            made = made &&
                                   CalculateCorrelation(thumbnail.data(), kThumbnailSide,
                                                        kThumbnailSide, &content) &&
                                   CalculateQuadrants(thumbnail.data(), &experimental);
                          }));
    plain = std::min(plain, Milliseconds([&] {
                       std::vector<double> sums(size_t{kThumbnailSize} * 3);
                       for (size_t y = 0; y < kHeight; ++y)
                         for (size_t x = 0; x < kWidth; ++x)
                           for (size_t c = 0; c < 3; ++c)
                             sums[(y * 64 / kHeight * 64 + x * 64 / kWidth) * 3 + c] +=
                                 pixels[(y * kWidth + x) * 3 + c];
                       sink = sums[17];
                     }));
  }
  std::printf("12 megapixels behind the decoder: thumbnail %.2f ms, signatures %.2f ms\n", resize,
              signatures);
  std::printf("  a plain mean without fractions: %.2f ms, ratio 1/%.1f\n", plain, plain / resize);
  return made;
}

bool Memory(CImageStore& store) {
  const size_t before = BytesInUse();
  for (uint32_t i = 0; i < kFiles; ++i) {
    const std::vector<uint8_t> pixels = Noise(size_t{kThumbnailSize} * 3, i + 1);
    const std::string path =
        "/home/someone/Pictures/2024/A Journey of Usual Length/IMG_" + std::to_string(i) + ".jpg";
    const PictureView view = {pixels.data(), kThumbnailSide, kThumbnailSide, 3,
                              size_t{kThumbnailSide} * 3};
    if (store.File(path, Describe(path, view), 0, false) != CImageStore::Filed::kYes) return false;
  }
  const double kib = static_cast<double>(BytesInUse() - before) / kFiles / 1024;
  std::printf("store of %u pictures: %.2f KiB a picture, goal %.0f: %s\n", kFiles, kib, kGoalKiB,
              kib < kGoalKiB ? "met" : "MISSED");
  return kib < kGoalKiB;
}

bool Compare(CImageStore& store) {
  CDecoderTable table;
  CProcessLink link(table, "/no decoder");
  CImageDecoder decoder(link);
  const CIgnoreList ignores;
  ImageSettings settings;
  CCollector sink;
  const auto comparer = std::make_unique<CImageComparer>(decoder, store, ignores, settings, sink);
  const std::vector<uint8_t> pixels = Noise(size_t{kThumbnailSize} * 3, 0);
  const ImageEntry target = Describe(
      "/new.jpg", {pixels.data(), kThumbnailSide, kThumbnailSide, 3, size_t{kThumbnailSide} * 3});
  if (store.File("/new.jpg", target, 0, false) != CImageStore::Filed::kYes) return false;
  // Once with all pairs reported, to be held against the plain loops.
  settings.Configure(true, true, 0, 0);
  bool done = comparer->CompareFile("/new.jpg") && sink.m_content.size() == kFiles;
  settings.Configure(true, true, 1, 1);

  double best = 1e9, plain = 1e9;
  double worst = 0;
  for (int round = 0; round < 5; ++round) {
    for (int i = 0; i < 5; ++i)
      best = std::min(best, Milliseconds([&] { done &= comparer->CompareFile("/new.jpg"); }));
    plain = std::min(plain, Milliseconds([&] {
                       std::array<Plain::Floats, 4> first = {
                           Plain::Decompress(target.experimental->quadrant1),
                           Plain::Decompress(target.experimental->quadrant2)};
                       first[2] = Plain::Transpose(first[0]);
                       first[3] = Plain::Transpose(first[1]);
                       ImageEntry entry;
                       uint32_t last = 0;
                       for (uint32_t i = 0; i < kFiles && store.NextEntry(last, &entry); ++i) {
                         last = entry.ordinal;
                         const double content = Plain::Content(*target.content, *entry.content);
                         const double other = Plain::Experimental(first, *entry.experimental);
                         worst = std::max({worst, std::fabs(content - sink.m_content[i]),
                                           std::fabs(other - sink.m_experimental[i])});
                       }
                     }));
  }
  const double ratio = plain / best;
  std::printf(
      "one picture against %u: %.2f ms, %.0f ns a pair; plain loops %.1f ms, ratio 1/%.1f, "
      "goal 1/%.0f: %s\n",
      kFiles, best, best * 1e6 / kFiles, plain, ratio, kGoalRatio,
      ratio >= kGoalRatio ? "met" : "MISSED");
  std::printf("  greatest difference of a score: %.1e\n", worst);
  return done && ratio >= kGoalRatio && worst < 1e-3;
}

int Run() {
  CCacheStore cache;
  CScanCounters counters;
  CImageStore store(cache, counters);
  bool met = Fingerprint();
  met &= Memory(store);
  met &= Compare(store);
  return met ? 0 : 1;
}

}  // namespace
}  // namespace quill

int main() {
  return quill::Run();
}
