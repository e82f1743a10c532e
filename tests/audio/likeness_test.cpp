// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/likeness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

#include "support/each_target.h"

namespace quill {
namespace {

// The definition: every substring of either string that occurs in the other one is a hit.
float PlainLikeness(std::u32string_view a, std::u32string_view b) {
  const uint64_t total = a.size() * (a.size() + 1) / 2 + b.size() * (b.size() + 1) / 2;
  if (total == 0) return 0;
  uint64_t hits = 0;
  for (size_t n = 1; n <= std::min(a.size(), b.size()); ++n) {
    for (size_t i = 0; i + n <= a.size(); ++i) hits += b.find(a.substr(i, n)) != b.npos;
    for (size_t i = 0; i + n <= b.size(); ++i) hits += a.find(b.substr(i, n)) != a.npos;
  }
  return static_cast<float>(hits) / static_cast<float>(total);
}

using Random = std::mt19937;

std::u32string RandomText(Random& random, size_t length, char32_t first, uint32_t alphabet) {
  std::u32string text(length, U'a');
  for (char32_t& c : text) c = first + random() % alphabet;
  return text;
}

// The first characters stand for the widths of text and for the greatest values of each width.
constexpr char32_t kFirsts[] = {U'a', 0x01, 0xFE, 0x430, 0xFFFD, 0x1F600};

TEST(Likeness, EqualsTheDefinitionOnRandomText) {
  test::EachTarget([] {
    Random random(1);
    for (int round = 0; round < 250; ++round) {
      const char32_t first = kFirsts[round % std::size(kFirsts)];
      const uint32_t alphabet = std::array{1u, 2u, 4u, 26u}[random() % 4];
      const size_t longest = alphabet == 26 ? 200 : 70;
      std::u32string a = RandomText(random, random() % longest, first, alphabet);
      std::u32string b = RandomText(random, random() % longest, first, alphabet);
      // A long common part, as real names have it.
      if (round % 3 == 0) b.insert(random() % (b.size() + 1), a.substr(random() % (a.size() + 1)));
      ASSERT_EQ(Likeness(a, b), PlainLikeness(a, b))
          << "round " << round << ", lengths " << a.size() << " and " << b.size();
    }
  });
}

// Around the sizes at which another method or another width of lanes takes over.
TEST(Likeness, EqualsTheDefinitionAtTheBorders) {
  test::EachTarget([] {
    Random random(2);
    for (const size_t shorter : {1, 63, 64, 65, 100})
      for (const size_t longer : {64, 65, 130})
        for (const char32_t first : kFirsts) {
          const std::u32string a = RandomText(random, std::max(shorter, longer), first, 3);
          std::u32string b = a.substr(a.size() - std::min(shorter, longer));
          b[b.size() / 2] = first + 3;
          ASSERT_EQ(Likeness(a, b), PlainLikeness(a, b)) << shorter << " and " << longer;
          ASSERT_EQ(Likeness(b, a), PlainLikeness(a, b)) << shorter << " and " << longer;
        }
  });
}

TEST(Likeness, VeryLongTextIsCountedRight) {
  test::EachTarget([] {
    // All stretches of the shorter text match: only its own length bounds a run.
    const std::u32string a(700, U'x'), b(300, U'x');
    const double hits = 300.0 * 301 / 2 + (700 - 300) * 300.0 + 300.0 * 301 / 2;
    EXPECT_FLOAT_EQ(Likeness(a, b), static_cast<float>(hits / (700.0 * 701 / 2 + 300.0 * 301 / 2)));
    EXPECT_EQ(Likeness(a, a), 1.0f);
  });
}

TEST(Likeness, EmptyTextIsLikeNothing) {
  for (const std::u32string_view other : {U"", U"a"}) {
    EXPECT_EQ(Likeness(U"", other), 0.0f);
    EXPECT_EQ(Likeness(other, U""), 0.0f);
  }
}

CRef<TagKeys> Keys(std::u32string filename, std::u32string artist, std::u32string album,
                   std::u32string title) {
  auto keys = MakeRef<TagKeys>();
  keys->filename = std::move(filename);
  keys->artist = std::move(artist);
  keys->album = std::move(album);
  keys->title = std::move(title);
  return keys;
}

// The order of steps as told, nothing left out.
float PlainTagScore(const TagKeys& t, const TagKeys& c) {
  float title = PlainLikeness(t.title, c.title), artist = PlainLikeness(t.artist, c.artist);
  const float crossA = PlainLikeness(t.title, c.artist), crossB = PlainLikeness(t.artist, c.title);
  if (crossB > artist && crossA > title) title = crossA, artist = crossB;
  if (t.title.empty() && !c.title.empty())
    title = std::max(title, PlainLikeness(t.filename, c.title));
  if (c.title.empty() && !t.title.empty())
    title = std::max(title, PlainLikeness(t.title, c.filename));
  if (t.artist.empty() && !c.artist.empty())
    artist = std::max(artist, PlainLikeness(t.filename, c.artist));
  if (c.artist.empty() && !t.artist.empty())
    artist = std::max(artist, PlainLikeness(t.artist, c.filename));
  const float filename = PlainLikeness(t.filename, c.filename);
  const float album = PlainLikeness(t.album, c.album);
  float w = 0;
  if (title != 0 || (!t.title.empty() && !c.title.empty())) w += 0.4f;
  if (artist != 0 || (!t.artist.empty() && !c.artist.empty())) w += 0.3f;
  if (filename != 0 || (!t.filename.empty() && !c.filename.empty())) w += 0.15f;
  if (album != 0 || (!t.album.empty() && !c.album.empty())) w += 0.15f;
  const float g =
      w > 0 ? (album * 0.15f + (filename * 0.15f + (artist * 0.3f + title * 0.4f))) / w : -1.0f;
  return std::clamp(g, 0.0f, 1.0f);
}

TEST(TagScore, EqualsTheStepsOnRandomKeys) {
  Random random(3);
  // Fields drawn from a few texts, empty ones among them, meet as equal, swapped and missing.
  const std::u32string texts[] = {U"", U"", U"abba", U"waterloo", U"abbawaterloo", U"cab", U"01"};
  const auto any = [&] { return texts[random() % std::size(texts)]; };
  for (int round = 0; round < 5000; ++round) {
    const auto t = Keys(any(), any(), any(), any()), c = Keys(any(), any(), any(), any());
    ASSERT_EQ(TagScore(*t, *c), PlainTagScore(*t, *c)) << round;
  }
}

TEST(TagScore, SeesThroughSwapsAndMissingTags) {
  const auto score = [](const CRef<TagKeys>& a, const CRef<TagKeys>& b) {
    return TagScore(*a, *b);
  };
  const auto t = Keys(U"one", U"abba", U"gold", U"waterloo");
  EXPECT_NEAR(score(t, Keys(U"xyz", U"abba", U"gold", U"waterloo")), 0.85f, 1e-6);
  EXPECT_NEAR(score(t, Keys(U"one", U"waterloo", U"gold", U"abba")), 1.0f, 1e-6);
  const auto name = Keys(U"samename", U"", U"", U""), nothing = Keys(U"", U"", U"", U"");
  EXPECT_NEAR(score(name, name), 1.0f, 1e-6);
  EXPECT_NEAR(score(Keys(U"zzz", U"", U"", U"waterloo"), Keys(U"waterloo", U"", U"", U"")),
              (0.4f + 0.15f * Likeness(U"zzz", U"waterloo")) / 0.55f, 1e-6);
  EXPECT_EQ(score(nothing, nothing), 0.0f);
}

}  // namespace
}  // namespace quill
