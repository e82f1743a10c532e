// SPDX-License-Identifier: GPL-3.0-or-later
// What the random walk over the duplicates tables (dups_walk_test.cpp) does not come by.
#include "results/dups_model.h"

#include <atomic>
#include <cmath>
#include <thread>

#include "results/result_tables.h"

namespace quill {
namespace {

using test::At;
using test::Lines;

class DupsModelTest : public test::CResultTables {};

TEST_F(DupsModelTest, TableMayChangeWhileTheUserIsAsked) {
  Pair({"/a"}, {"/b"});
  EXPECT_TRUE(m_audio.ActOnRows({0}, [&](const auto&) {
    m_audio.Clear();
    Pair({"/a"}, {"/c"});
    Pair({"/c"}, {"/d"});
    return true;
  }));
  EXPECT_EQ(Files(m_audio), (Lines{"/c", "/d"}));
  EXPECT_FALSE(m_audio.Swap({0, 1}, nullptr));
  EXPECT_FALSE(m_audio.Swap({0, 1}, [&](const auto&, const auto&) {
    m_audio.Clear();
    return true;
  }));
}

TEST_F(DupsModelTest, MarksAndCountsOfWholeTables) {
  const CAudioDupsController::Statistics none = m_audio.GetStatistics();
  EXPECT_EQ(none.minimum, (AudioDupsTraits::Scores{1, 1, 1}));
  EXPECT_EQ(none.maximum, (AudioDupsTraits::Scores{-10, -10, -10}));
  Pair({"/a"}, {"/c"}, {0.75F, 0, 1});
  Pair({"/a"}, {"/b"}, {0.25F, -1, 1});
  Pair({"/d"}, {"/e"}, {0.5F, -0.5F, 1});
  const CAudioDupsController::Statistics statistics = m_audio.GetStatistics();
  EXPECT_EQ(statistics.count, 3U);
  EXPECT_EQ(statistics.minimum, (AudioDupsTraits::Scores{0.25F, -1, 1}));
  EXPECT_EQ(statistics.maximum, (AudioDupsTraits::Scores{0.75F, 0, 1}));
  EXPECT_EQ(statistics.mean, (AudioDupsTraits::Scores{0.5F, -0.5F, 1}));

  m_audio.MarkRows({1});
  m_audio.InvertMarked();
  EXPECT_EQ(Files(m_audio), (Lines{"*/a", "/b", "*/c", "*/d", "*/e"}));
  m_audio.UnmarkAll();
  m_audio.MarkRows({3});
  m_audio.IgnoreMarked();
  EXPECT_EQ(Files(m_audio), (Lines{"/a", "/b", "/c"}));
  EXPECT_TRUE(m_ignores.IsPairIgnored("/d", "/e"));
}

TEST_F(DupsModelTest, WhatDoesNotFitIsRefused) {
  const auto load = [](auto& table, auto record, auto... scores) {
    record.path = "/b";
    EXPECT_TRUE(table.BulkAdd(record));
    record.path = "/a";
    EXPECT_TRUE(table.BulkAdd(record));
    const bool again = table.BulkAdd(record);
    EXPECT_TRUE(table.BulkAdd("/a", "/b", std::nanf(""), scores...));
    EXPECT_FALSE(table.BulkAdd("/a", "/c", 1, scores...));
    EXPECT_EQ(table.RowCount(), 0U);
    table.RebuildRows();
    EXPECT_EQ(Files(table), (Lines{"/a", "/b"}));
    // A score that is no number would have no place in the order.
    EXPECT_EQ(table.TableAt(0)->item->minimum[0], -1);
    return again;
  };
  EXPECT_TRUE(load(m_audio, AudioItemRecord(), 1, 1)) << "as files of old programs have it";
  EXPECT_FALSE(load(m_images, ImageItemRecord(), 1));
  EXPECT_FALSE(m_audio.BulkChange("/c", "/d", "", "", ""));
  EXPECT_FALSE(m_images.BulkChange("/c", "/d"));
  EXPECT_FALSE(m_audio.LockedAdd({At<ItemBase>("/x"), {}, 0, 0, {}}));
  EXPECT_FALSE(m_images.LockedAdd({{}, At<ImageInfo>("/x"), 0, 0, {}}));
  // Nor does what waits outlive the table.
  m_images.LockedAdd({At<ImageInfo>("/c"), At<ImageInfo>("/d"), 0, 0, {}});
  m_images.Clear();
  EXPECT_TRUE(m_images.ProcessNewData());
  EXPECT_EQ(m_images.ItemCount(), 0U);
}

TEST(SortState, StaysWhatTheSettingsHold) {
  EXPECT_EQ((SortState{FieldId::kSize, true}.Encode()), 12);
  EXPECT_EQ((SortState{FieldId::kContent, false}.Encode()), -5);
  EXPECT_TRUE(SortState::Decode(0).column == FieldId::kFile && SortState::Decode(0).ascending);
  EXPECT_EQ(FieldIdOf("samplerate"), FieldId::kSampleRate);
  EXPECT_EQ(FieldIdOf("Samplerate"), FieldId::kNone);
}

// A wake-up that is lost leaves pairs behind for ever; this one drains on wake-ups alone.
TEST_F(DupsModelTest, PairsOfManyWorkersAllArriveByWakeUpsAlone) {
  constexpr int kThreads = 4, kPairs = 3000;
  std::atomic<int> wakeUps{0}, running{kThreads};
  m_audio.m_callback = [&] { ++wakeUps; };
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, name = std::to_string(t)] {
      const auto hub = At<ItemBase>(name);
      for (int i = 0; i < kPairs; ++i)
        m_audio.LockedAdd({hub, At<ItemBase>(name + "/" + std::to_string(i)), 0, 0, {}});
      --running;
    });
  }
  for (int drained = 0;;) {
    const bool last = running == 0;
    if (const int seen = wakeUps; seen != drained) {
      drained = seen;
      EXPECT_TRUE(m_audio.ProcessNewData());
    } else if (last) {
      break;
    }
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(m_audio.PairCount(), static_cast<uint32_t>(kThreads * kPairs));
  EXPECT_EQ(m_audio.GroupCount(), static_cast<uint32_t>(kThreads));
}

}  // namespace
}  // namespace quill
