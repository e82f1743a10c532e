// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/row_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "ui/table/score_cell.h"
#include "ui/widgets/readable_color.h"

namespace quill {
namespace {

RowKey Key(uintptr_t item, uintptr_t pair = 0) {
  return {reinterpret_cast<const void*>(item * 48), reinterpret_cast<const void*>(pair * 64)};
}

// Rows come, go and change places; what was selected must be found by its identity alone.
TEST(RowMemory, FindsSelectedRowsWhereverTheyWent) {
  std::mt19937 random(11);
  for (int round = 0; round < 200; ++round) {
    std::vector<RowKey> keys;
    for (uintptr_t i = 1; i <= random() % 60; ++i) {
      keys.push_back(Key(i));
      if (random() % 2) keys.push_back(Key(i, 1 + random() % 3));
    }
    std::vector<uint8_t> selected(keys.size());
    for (uint8_t& flag : selected) flag = random() % 3 == 0;
    std::vector<RowKey> later = keys;
    std::erase_if(later, [&](const RowKey&) { return random() % 5 == 0; });
    for (uintptr_t i = 100; i < 100 + random() % 30; ++i) later.push_back(Key(i));
    if (round % 2) std::shuffle(later.begin(), later.end(), random);

    std::vector<int32_t> expected, found;
    for (size_t row = 0; row < later.size(); ++row) {
      const auto before = std::find(keys.begin(), keys.end(), later[row]);
      if (before != keys.end() && selected[static_cast<size_t>(before - keys.begin())])
        expected.push_back(static_cast<int32_t>(row));
    }
    for (const RowRange& range : CRowMemory(keys, selected, -1, -1).FindIn(later).selected) {
      EXPECT_TRUE(found.empty() || found.back() + 1 < range.first) << "ranges that touch";
      for (int32_t row = range.first; row <= range.last; ++row) found.push_back(row);
    }
    ASSERT_EQ(found, expected) << "round " << round;
  }
}

TEST(RowMemory, TheNextRowLeftStandsInForOneThatHasGone) {
  const std::vector<RowKey> keys = {Key(1), Key(2), Key(3), Key(4), Key(5)};
  const std::vector<uint8_t> none(5);
  const struct {
    int32_t row;
    std::vector<RowKey> later;
    int32_t expected;
  } cases[] = {
      {2, {Key(9), Key(1), Key(3), Key(5)}, 2},  // it is there
      {2, {Key(1), Key(2), Key(5)}, 2},          // the next one below
      {4, {Key(1), Key(3), Key(9)}, 1},          // the last one above
      {2, {Key(8), Key(9)}, -1},
      {-1, {Key(1)}, -1},
  };
  for (const auto& test : cases) {
    const auto found = CRowMemory(keys, none, test.row, test.row).FindIn(test.later);
    EXPECT_EQ(found.current, test.expected) << test.row;
    EXPECT_EQ(found.anchor, test.expected) << test.row;
  }
}

TEST(ReadableColor, RedReadsOnEveryBackground) {
  EXPECT_NEAR(Contrast(Qt::white, Qt::black), 21, 0.001);
  EXPECT_NEAR(Contrast(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.01);
  EXPECT_EQ(ReadableOn(Qt::white, kRedText), kRedText) << "as told where it reads";
  for (int grey = 0; grey < 256; grey += 5) {
    for (const QColor& ground : {QColor(grey, grey, grey), QColor(48, 140, grey)}) {
      EXPECT_GE(Contrast(ReadableOn(ground, kRedText), ground), kReadableContrast)
          << qPrintable(ground.name());
    }
  }
}

TEST(ScoreCell, BarFadesWithTheScore) {
  const QColor red(255, 0, 0), pale(255, 200, 200), blue(0, 0, 255), white(Qt::white);
  const ScoreBar two{0, {}, {}, blue}, three{0, red, pale, blue};
  const struct {
    ScoreBar bar;
    float score;
    QColor expected;
  } cases[] = {{two, 1, blue},
               {two, 0, white},
               {two, 0.2F, QColor(204, 204, 255)},
               {two, 1.5F, blue},
               {three, 1, blue},
               {three, 0.5F, pale},
               {three, 0, red},
               {three, 0.75F, QColor(128, 100, 228)}};
  for (auto test : cases) {
    test.bar.score = test.score;
    const QColor color = BarColor(test.bar, white);
    EXPECT_NEAR(color.red(), test.expected.red(), 1) << test.score;
    EXPECT_NEAR(color.green(), test.expected.green(), 1) << test.score;
    EXPECT_NEAR(color.blue(), test.expected.blue(), 1) << test.score;
  }
}

}  // namespace
}  // namespace quill
