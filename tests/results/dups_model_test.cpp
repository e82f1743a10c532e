#include "results/dups_model.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "core/configuration.h"

namespace quill {
namespace {

struct File : CReferenced<File> {
  std::string path;
  uint64_t size = 0;
  std::string artist;
};

struct FileTraits {
  using Base = File;
  static constexpr size_t kScores = 2;
  static constexpr const char* kSortKey = "testSort";
  using Scores = std::array<float, kScores>;

  static size_t ScoreOf(FieldId column) {
    return column == FieldId::kContent ? 0 : column == FieldId::kTags ? 1 : kScores;
  }
  static FileKey KeyOf(FieldId column, const File& file) {
    return column == FieldId::kArtist ? FileKey(file.artist) : FileKey();
  }
  static void JournalItem(CResultsJournal&, const File&, uint8_t) {}
  static void JournalPair(CResultsJournal&, std::string_view, std::string_view, const Scores&) {}
  static void JournalRemoval(CResultsJournal&, std::string_view, std::string_view) {}
  static void JournalChange(CResultsJournal&, const File&, const File&) {}
};
using Scores = FileTraits::Scores;

CRef<const File> MakeFile(const std::string& path, uint64_t size = 0, std::string artist = {}) {
  CRef<File> file = MakeRef<File>();
  file->path = path;
  file->size = size;
  file->artist = std::move(artist);
  return file;
}

class CTestModel final : public CDupsModel<FileTraits> {
 public:
  explicit CTestModel(CIgnoreList& ignores) : CDupsModel(ignores) {}

  CRef<const File> WithPath(const File& base, const std::string& path) override {
    return MakeFile(path, base.size, base.artist);
  }
  bool Add(const CRef<const File>& a, const CRef<const File>& b, const Scores& scores) {
    return LockedAdd({a, b, 1, 2, scores});
  }
  // The table as "item" and "item>partner", group by group.
  std::vector<std::string> Table() const {
    std::vector<std::string> rows;
    uint32_t group = 0;
    for (const ViewData& row : m_viewData) {
      if (row.item->group != group) rows.push_back("--");
      group = row.item->group;
      rows.push_back(row.item->base->path + (row.pair ? ">" + row.pair->second->base->path : ""));
    }
    return rows;
  }
};

// The settings of one test.
class DupsModelTest : public testing::Test {
 protected:
  DupsModelTest() { CConfiguration::Instance().SetStore(&m_settings); }
  ~DupsModelTest() override { CConfiguration::Instance().SetStore(nullptr); }

  CMemorySettingsStore m_settings;
  CIgnoreList m_ignores;
};

TEST_F(DupsModelTest, ThirdFileMergesTwoGroupsAndClosesTheGap) {
  CTestModel model(m_ignores);
  const auto file = [](const char* path) { return MakeFile(path); };
  for (auto [a, b] : {std::pair("/b", "/a"), {"/c", "/d"}, {"/e", "/f"}, {"/g", "/h"}}) {
    model.Add(file(a), file(b), {1, 1});
  }
  ASSERT_TRUE(model.ProcessNewData());
  ASSERT_EQ(model.Table(), (std::vector<std::string>{"--", "/a", "/b", "--", "/c", "/d", "--", "/e",
                                                     "/f", "--", "/g", "/h"}));
  model.Add(file("/bb"), file("/f"), {1, 1});
  model.Add(file("/bb"), file("/a"), {1, 1});
  ASSERT_TRUE(model.ProcessNewData());
  EXPECT_EQ(model.Table(), (std::vector<std::string>{"--", "/a", "/b", "/bb", "/e", "/f", "--",
                                                     "/c", "/d", "--", "/g", "/h"}));
  EXPECT_EQ(model.GroupCount(), 3u);
}

TEST_F(DupsModelTest, PairThatIsThereAlreadyDropsTheRestOfItsBatchOnly) {
  CTestModel model(m_ignores);
  model.Add(MakeFile("/a"), MakeFile("/b"), {1, 1});
  model.Add(MakeFile("/b"), MakeFile("/a"), {0, 0});
  model.Add(MakeFile("/c"), MakeFile("/d"), {1, 1});
  EXPECT_FALSE(model.ProcessNewData());
  EXPECT_EQ(model.Table(), (std::vector<std::string>{"--", "/a", "/b"}));
  EXPECT_TRUE(model.ProcessNewData());
  model.Add(MakeFile("/c"), MakeFile("/d"), {1, 1});
  EXPECT_TRUE(model.ProcessNewData());
  EXPECT_EQ(model.GetStatistics().count, 2u);
}

TEST_F(DupsModelTest, SwapNeedsTwoFilesOfOneGroupWithTheSameExtension) {
  CTestModel model(m_ignores);
  const std::vector<std::string> paths = {"/1.mp3", "/2.MP3", "/3.flac", "/d.mp3/4", "/d.wav/5"};
  for (size_t i = 1; i < paths.size(); ++i) {
    model.Add(MakeFile(paths[0]), MakeFile(paths[i]), {1, 1});
  }
  model.Add(MakeFile("/x.mp3"), MakeFile("/y.mp3"), {1, 1});
  ASSERT_TRUE(model.ProcessNewData());
  // Rows 0 to 4 are the paths in order, 5 and 6 the second group.
  ASSERT_EQ(model.Table(),
            (std::vector<std::string>{"--", "/1.mp3", "/2.MP3", "/3.flac", "/d.mp3/4", "/d.wav/5",
                                      "--", "/x.mp3", "/y.mp3"}));
  const std::vector<std::pair<CTestModel::Rows, bool>> cases = {
      {{0, 1}, true},   {{1, 0}, true},  {{3, 4}, true},    {{5, 6}, true}, {{0, 2}, false},
      {{0, 3}, false},  {{0, 5}, false}, {{0, 0}, false},   {{0}, false},   {{}, false},
      {{-1, 0}, false}, {{0, 7}, false}, {{0, 1, 3}, false}};
  for (const auto& [rows, can] : cases) {
    EXPECT_EQ(model.CanSwap(rows), can) << testing::PrintToString(rows);
  }
  EXPECT_FALSE(model.Swap({0, 1}, nullptr));
  EXPECT_FALSE(model.Swap({0, 1}, [](const auto&, const auto&) { return false; }));
  // An inner row stands for its partner, and so for the same file as the other row.
  model.ToggleGroup(0);
  EXPECT_EQ(model.TableAt(1)->File()->base->path, "/2.MP3");
  EXPECT_FALSE(model.CanSwap({1, 5}));
  EXPECT_TRUE(model.CanSwap({0, 1}));
}

TEST_F(DupsModelTest, TableMayChangeWhileTheUserIsAsked) {
  CTestModel model(m_ignores);
  model.Add(MakeFile("/a"), MakeFile("/b"), {1, 1});
  ASSERT_TRUE(model.ProcessNewData());
  EXPECT_TRUE(model.ActOnRows({0}, [&](const auto&) {
    model.Clear();
    model.Add(MakeFile("/a"), MakeFile("/c"), {1, 1});
    model.Add(MakeFile("/c"), MakeFile("/d"), {1, 1});
    return model.ProcessNewData();
  }));
  EXPECT_EQ(model.Table(), (std::vector<std::string>{"--", "/c", "/d"}));
  EXPECT_FALSE(model.Swap({0, 1}, [&](const auto&, const auto&) {
    model.Clear();
    return true;
  }));
}

TEST_F(DupsModelTest, StatisticsCountEachPairOnce) {
  CTestModel model(m_ignores);
  EXPECT_EQ(model.GetStatistics().minimum, (Scores{1, 1}));
  EXPECT_EQ(model.GetStatistics().maximum, (Scores{-10, -10}));
  EXPECT_EQ(model.GetStatistics().mean, (Scores{0, 0}));
  model.Add(MakeFile("/a"), MakeFile("/b"), {0.25f, -1});
  model.Add(MakeFile("/a"), MakeFile("/c"), {0.75f, 0});
  ASSERT_TRUE(model.ProcessNewData());
  const CTestModel::Statistics statistics = model.GetStatistics();
  EXPECT_EQ(statistics.count, 2u);
  EXPECT_EQ(statistics.minimum, (Scores{0.25f, -1}));
  EXPECT_EQ(statistics.maximum, (Scores{0.75f, 0}));
  EXPECT_EQ(statistics.mean, (Scores{0.5f, -0.5f}));
}

TEST_F(DupsModelTest, SortAndModeAreReadAndStored) {
  for (int32_t stored : {1, 12, -1, -5}) {
    CConfiguration::Instance().SetInteger("testSort", stored);
    CConfiguration::Instance().SetBool("enableFlatMode", stored < 0);
    CTestModel model(m_ignores);
    EXPECT_EQ(model.IsFlat(), stored < 0);
    EXPECT_EQ(static_cast<int32_t>(model.Sort().column), stored > 0 ? stored - 1 : -stored - 1);
    EXPECT_EQ(model.Sort().ascending, stored > 0);
    CConfiguration::Instance().SetInteger("testSort", 99);
    model.SetSort(model.Sort().column, model.Sort().ascending);
    EXPECT_EQ(CConfiguration::Instance().GetInteger("testSort", 0), stored);
  }
  EXPECT_EQ(SortState::Decode(0).column, FieldId::kFile);
  EXPECT_EQ(FieldIdOf("samplerate"), FieldId::kSampleRate);
  EXPECT_EQ(FieldIdOf("Samplerate"), FieldId::kNone);
}

// A wake-up that is lost leaves pairs behind for ever; this one drains on wake-ups alone.
TEST_F(DupsModelTest, PairsOfManyWorkersAllArriveByWakeUpsAlone) {
  constexpr int kThreads = 4;
  constexpr int kPairs = 3000;
  CTestModel model(m_ignores);
  std::atomic<int> wakeUps{0};
  std::atomic<int> running{kThreads};
  model.m_callback = [&] { ++wakeUps; };
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      const std::string name = std::to_string(t);
      const CRef<const File> hub = MakeFile(name);
      for (int i = 0; i < kPairs; ++i) {
        model.Add(hub, MakeFile(name + "/" + std::to_string(i)), {1, 1});
      }
      --running;
    });
  }
  int drained = 0;
  for (;;) {
    const bool last = running == 0;
    const int seen = wakeUps;
    if (seen != drained) {
      drained = seen;
      EXPECT_TRUE(model.ProcessNewData());
    } else if (last) {
      break;
    }
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(model.GetStatistics().count, static_cast<uint32_t>(kThreads * kPairs));
  EXPECT_EQ(model.GroupCount(), static_cast<uint32_t>(kThreads));
}

}  // namespace
}  // namespace quill
