// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_scores.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "image/test_picture.h"
#include "support/each_target.h"
#include "support/plain_moments.h"

namespace quill {
namespace {

using test::Entry;
using test::Oriented;
using test::Photograph;
using test::Picture;

float Content(const ImageContent& first, const ImageContent& second) {
  ContentTarget target;
  MakeContentTarget(first, &target);
  return CmpCorMethod(target, second);
}

float Experimental(const ImageExperimental& first, const ImageExperimental& second) {
  const auto target = std::make_unique<ExperimentalTarget>();
  return DecompressTranspose(first, target.get()) ? CmpFreqMethod(*target, second) : -2;
}

// By the definition, in doubles.
double PlainContent(const ImageContent& x, const ImageContent& y) {
  using Values = std::vector<float>;
  const auto sum = [](const Values& a, Values b, bool back) {
    if (back) std::reverse(b.begin() + 1, b.end());
    double total = 0;
    for (size_t i = 1; i < a.size(); ++i) total += double{a[i]} * b[i];
    return std::max(total / double(a.size() - 1), 0.0);
  };
  double best = 0;
  for (const bool backRows : {false, true}) {
    for (const bool backColumns : {false, true}) {
      best = std::max(best, sum(x.rows, y.rows, backRows) * sum(x.columns, y.columns, backColumns));
      best = std::max(best, sum(x.rows, y.columns, backColumns) * sum(x.columns, y.rows, backRows));
    }
  }
  return std::min(best, 1.0);
}

double PlainPearson(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  const test::PlainMoments m(a, b, a.size());
  const bool flatA = m.xx < 1e-9, flatB = m.yy < 1e-9;
  return flatA || flatB ? flatA && flatB : m.Pearson();
}

double PlainExperimental(const ImageExperimental& x, const ImageExperimental& y) {
  using Bytes = std::vector<uint8_t>;
  const auto transposed = [](const Bytes& bytes) {
    Bytes turned(bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i)
      turned[i % kQuadrantSide * kQuadrantSide + i / kQuadrantSide] = bytes[i];
    return turned;
  };
  const Bytes &q1 = x.quadrant1.Values(), &q2 = x.quadrant2.Values();
  const Bytes &p1 = y.quadrant1.Values(), &p2 = y.quadrant2.Values();
  const Bytes t1 = transposed(q1), t2 = transposed(q2);
  return std::pow(std::max({0.0, PlainPearson(q1, p1) * PlainPearson(q2, p2),
                            PlainPearson(q1, p2) * PlainPearson(q2, p1),
                            PlainPearson(t1, p1) * PlainPearson(t2, p2),
                            PlainPearson(t1, p2) * PlainPearson(t2, p1)}),
                  10);
}

// Random values of which some pairs are alike in one of the eight ways.
TEST(Scores, EqualThePlainFormulas) {
  test::EachTarget([] {
    std::mt19937 random(5);
    std::normal_distribution<float> normal;
    for (int round = 0; round < 60; ++round) {
      const size_t n = round < 40 ? 64 : 2 + random() % 90;
      ImageContent a, b;
      for (std::vector<float>* values : {&a.rows, &a.columns}) {
        values->resize(n);
        for (float& x : *values) x = normal(random);
      }
      b.rows = round % 2 ? a.columns : a.rows;
      b.columns = round % 2 ? a.rows : a.columns;
      if (round & 2) std::reverse(b.rows.begin() + 1, b.rows.end());
      if (round & 4) std::reverse(b.columns.begin() + 1, b.columns.end());
      for (std::vector<float>* values : {&b.rows, &b.columns})
        for (float& x : *values) x = x * 0.9F + 0.3F * normal(random);
      ASSERT_NEAR(Content(a, b), PlainContent(a, b), 1e-5) << round;

      std::vector<uint8_t> q1(kQuadrantSize), q2(kQuadrantSize);
      for (uint8_t& x : q1) x = uint8_t(round % 5 ? random() : 254 + random() % 2);
      for (uint8_t& x : q2) x = uint8_t(round % 7 ? random() % 99 : 9);
      ImageExperimental c, d;
      c.quadrant1.Assign(q1);
      c.quadrant2.Assign(q2);
      for (uint8_t& x : q1) x = uint8_t(random() % 9 ? x : random());
      (round % 2 ? d.quadrant1 : d.quadrant2).Assign(q1);
      (round % 2 ? d.quadrant2 : d.quadrant1).Assign(q2);
      ASSERT_NEAR(Experimental(c, d), PlainExperimental(c, d), 1e-6) << round;
    }
  });
}

TEST(Scores, EveryOrientationIsTheSamePicture) {
  for (const uint32_t seed : {1U, 2U, 3U}) {
    const Picture picture = Photograph(seed, 300, 180);
    const ImageEntry first = Entry("/a", picture);
    for (int way = 0; way < 8; ++way) {
      const ImageEntry second = Entry("/b", Oriented(picture, way));
      EXPECT_GT(Content(*first.content, *second.content), 0.9999F) << seed << " way " << way;
      EXPECT_GT(Experimental(*first.experimental, *second.experimental), 0.9999F)
          << seed << " way " << way;
    }
  }
}

Picture Resized(const Picture& picture, int32_t width, int32_t height) {
  Picture made(width, height);
  EXPECT_EQ(PictureLinear(picture.View(), made.pixels.data(), width, height), kVecOk);
  return made;
}

// Another size, another number of pixels, coarser values and a turn.
TEST(Scores, SurviveChangesOfSizeAndQuality) {
  std::mt19937 random(1);
  for (uint32_t seed = 1; seed <= 5; ++seed) {
    const Picture picture = Photograph(seed, 300, 220);
    Picture copy = Oriented(Resized(picture, 211, 173), int(seed % 8));
    for (uint8_t& x : copy.pixels) x = uint8_t(std::clamp(int(x & ~7) + int(random() % 9), 0, 255));
    const ImageEntry first = Entry("/a", picture);
    const ImageEntry second = Entry("/b", copy);
    EXPECT_GT(Content(*first.content, *second.content), 0.75F) << seed;
    EXPECT_GT(Experimental(*first.experimental, *second.experimental), 0.75F) << seed;
  }
}

TEST(Scores, OtherPicturesAreFarApart) {
  std::vector<ImageEntry> entries;
  for (uint32_t seed = 1; seed <= 12; ++seed) entries.push_back(Entry("/x", Photograph(seed)));
  for (size_t i = 0; i < entries.size(); ++i)
    for (size_t j = 0; j < i; ++j) {
      EXPECT_LT(Content(*entries[i].content, *entries[j].content), 0.3F) << i << " " << j;
      EXPECT_LT(Experimental(*entries[i].experimental, *entries[j].experimental), 0.6F) << i << j;
    }
}

TEST(Scores, FlatPictures) {
  const ImageEntry dark = Entry("/a", test::Flat(20));
  const ImageEntry bright = Entry("/b", test::Flat(200));
  const ImageEntry black = Entry("/c", test::Flat(0));
  const ImageEntry photograph = Entry("/d", Photograph(1));
  EXPECT_EQ(Content(*dark.content, *dark.content), 0);
  EXPECT_EQ(Content(*dark.content, *photograph.content), 0);
  EXPECT_EQ(Experimental(*dark.experimental, *bright.experimental), 1);
  EXPECT_EQ(Experimental(*black.experimental, *black.experimental), 1);
  EXPECT_EQ(Experimental(*black.experimental, *photograph.experimental), 0);
}

// Whatever a cache file brings: no number that is none, no read outside.
TEST(Scores, DamagedSignaturesScoreNothing) {
  const ImageEntry sound = Entry("/a", Photograph(1));
  ImageContent content;
  for (const auto& [rows, columns] : {std::pair{0, 0}, {1, 1}, {63, 63}, {64, 63}, {63, 64}}) {
    content.rows.assign(size_t(rows), 1);
    content.columns.assign(size_t(columns), 1);
    EXPECT_EQ(Content(*sound.content, content), -1) << rows << " " << columns;
    EXPECT_EQ(Content(content, *sound.content), -1) << rows << " " << columns;
  }
  content.rows.assign(1, 1);
  content.columns.assign(1, 1);
  EXPECT_EQ(Content(content, content), -1);
  content.rows.assign(64, std::nanf(""));
  content.columns.assign(64, INFINITY);
  EXPECT_EQ(Content(*sound.content, content), 0);
  EXPECT_EQ(Content(content, content), 0);

  ImageExperimental experimental;
  for (const auto& [first, second] : {std::pair{1089, 1088}, {1088, 1089}, {0, 0}, {1090, 1090}}) {
    experimental.quadrant1.Assign(std::vector<uint8_t>(size_t(first), 1));
    experimental.quadrant2.Assign(std::vector<uint8_t>(size_t(second), 1));
    EXPECT_EQ(Experimental(*sound.experimental, experimental), -1);
    EXPECT_EQ(Experimental(experimental, *sound.experimental), -2);
  }
}

}  // namespace
}  // namespace quill
