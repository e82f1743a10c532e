#include "results/dups_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <tuple>
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
  static int CompareFiles(FieldId column, const File& a, const File& b) {
    return column == FieldId::kArtist ? a.artist.compare(b.artist) : 0;
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

  using CDupsModel::Append;
  using CDupsModel::BulkAddPair;
  using CDupsModel::BulkRemovePair;
  using CDupsModel::FindItem;

  CRef<const File> WithPath(const File& base, const std::string& path) override {
    return MakeFile(path, base.size, base.artist);
  }
  void Rename(const std::string& from, const std::string& to) {
    ItemData* item = FindItem(from);
    ASSERT_TRUE(ChangeJournaled(item, WithPath(*item->base, to)));
    RebuildIfSortedBy({FieldId::kFile, FieldId::kFolder, FieldId::kFilename});
  }
  bool Add(const CRef<const File>& a, const CRef<const File>& b, const Scores& scores) {
    return Append({a, b, 1, 2, scores});
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

// The same state in plain maps. Its table is worked out from nothing each time, and follows from
// the invariants alone; only the addresses that break ties are asked of the model.
struct Oracle {
  struct Item {
    CRef<const File> file;
    uint8_t folderGroup = 0;
    bool marked = false, expanded = false;
  };
  struct Row {
    std::string item, partner;
    uint32_t group;
  };
  using Key = std::tuple<float, std::string, uintptr_t>;

  std::map<std::string, Item> items;
  std::map<std::pair<std::string, std::string>, Scores> pairs;  // both directions
  FieldId column = FieldId::kFile;
  bool ascending = true, flat = false;

  // False where the model must refuse.
  bool Add(const CRef<const File>& a, const CRef<const File>& b, const Scores& scores) {
    items.try_emplace(a->path, Item{a, 1});
    items.try_emplace(b->path, Item{b, 2});
    if (a->path == b->path || pairs.contains({a->path, b->path})) return false;
    pairs[{a->path, b->path}] = pairs[{b->path, a->path}] = scores;
    return true;
  }
  std::vector<std::string> Partners(const std::string& path) const {
    std::vector<std::string> partners;
    for (auto at = pairs.lower_bound({path, ""}); at != pairs.end() && at->first.first == path;
         ++at)
      partners.push_back(at->first.second);
    return partners;
  }
  void RemovePair(const std::string& a, const std::string& b) {
    if (!pairs.erase({a, b})) return;
    pairs.erase({b, a});
    if (Partners(a).empty()) items.erase(a);
    if (Partners(b).empty()) items.erase(b);
  }
  void RemoveItem(const std::string& path) {
    for (const std::string& partner : Partners(path)) RemovePair(path, partner);
  }
  // Several at once: afterwards each pair has its new names.
  void Rename(const std::map<std::string, std::string>& names) {
    const auto now = [&](const std::string& path) {
      const auto found = names.find(path);
      return found == names.end() ? path : found->second;
    };
    decltype(items) newItems;
    for (auto& [path, item] : items) {
      if (names.contains(path)) {
        item.file = MakeFile(now(path), item.file->size, item.file->artist);
      }
      newItems[now(path)] = item;
    }
    decltype(pairs) newPairs;
    for (auto& [key, scores] : pairs) newPairs[{now(key.first), now(key.second)}] = scores;
    items = newItems;
    pairs = newPairs;
  }
  std::string Text(const std::string& path) const {
    const Item& item = items.at(path);
    const size_t slash = path.rfind('/');
    switch (column) {
      case FieldId::kFile:
        return path;
      case FieldId::kFolder:
        return path.substr(0, slash);
      case FieldId::kFilename:
        return path.substr(slash + 1);
      case FieldId::kArtist:
        return item.file->artist;
      case FieldId::kSize:
        return std::to_string(1000 + item.file->size);
      case FieldId::kGroup:
        return std::to_string(item.folderGroup);
      default:
        return "";
    }
  }
  std::vector<Row> Table(const CTestModel& model) const {
    const size_t score = column == FieldId::kContent ? 0 : column == FieldId::kTags ? 1 : 2;
    const auto address = [&](const std::string& path) {
      return reinterpret_cast<uintptr_t>(model.FindItem(path));
    };
    const auto before = [&](const Key& a, const Key& b) { return ascending ? a < b : b < a; };
    std::map<std::string, Key> keys;
    for (const auto& [path, item] : items) {
      float best = -10;
      for (const std::string& partner : Partners(path)) {
        if (score < 2) best = std::max(best, std::min(1.0f, pairs.at({path, partner})[score]));
      }
      keys[path] = {best, Text(path), address(path)};
    }
    const auto byKey = [&](const std::string& a, const std::string& b) {
      return before(keys[a], keys[b]);
    };

    std::vector<std::vector<std::string>> groups;
    std::map<std::string, bool> seen;
    for (const auto& [path, item] : items) {
      if (seen[path] || Partners(path).empty()) continue;
      std::vector<std::string> group{path};
      seen[path] = true;
      for (size_t i = 0; i < group.size() && !flat; ++i) {
        for (const std::string& partner : Partners(group[i])) {
          if (!std::exchange(seen[partner], true)) group.push_back(partner);
        }
      }
      std::sort(group.begin(), group.end(), byKey);
      groups.push_back(group);
    }
    std::sort(groups.begin(), groups.end(),
              [&](const auto& a, const auto& b) { return byKey(a[0], b[0]); });

    std::vector<Row> rows;
    for (size_t i = 0; i < groups.size(); ++i) {
      const auto number = static_cast<uint32_t>(i + 1);
      for (const std::string& path : groups[i]) {
        rows.push_back({path, "", number});
        if (!flat && !items.at(path).expanded) continue;
        std::vector<std::string> partners = Partners(path);
        const auto pairKey = [&](const std::string& partner) {
          return Key{score < 2 ? pairs.at({path, partner})[score] : 0, Text(partner),
                     address(partner)};
        };
        std::sort(partners.begin(), partners.end(),
                  [&](const auto& a, const auto& b) { return before(pairKey(a), pairKey(b)); });
        for (const std::string& partner : partners) rows.push_back({path, partner, number});
      }
    }
    return rows;
  }

  void Check(const CTestModel& model) const {
    const std::vector<Row> rows = Table(model);
    ASSERT_EQ(model.RowCount(), rows.size());
    ASSERT_EQ(model.ItemCount(), items.size());
    for (size_t i = 0; i < rows.size(); ++i) {
      const auto* row = model.TableAt(static_cast<int32_t>(i));
      ASSERT_EQ(row->item->base->path, rows[i].item) << "row " << i;
      ASSERT_EQ(row->pair ? row->pair->second->base->path : "", rows[i].partner) << "row " << i;
      ASSERT_EQ(row->item->group, rows[i].group) << "row " << i;
      if (row->pair) {
        ASSERT_EQ(row->pair->first, row->item);
        ASSERT_EQ(row->pair->scores, pairs.at({rows[i].item, rows[i].partner}));
        continue;
      }
      const Item& item = items.at(rows[i].item);
      const auto partners = Partners(rows[i].item);
      ASSERT_EQ(row->item->pairs, partners.size());
      ASSERT_EQ(row->item->marked, item.marked);
      ASSERT_EQ(row->item->expanded, item.expanded);
      Scores minimum{1, 1}, maximum{-10, -10};
      for (const std::string& partner : partners) {
        for (size_t s : {0, 1}) {
          const float score = pairs.at({rows[i].item, partner})[s];
          minimum[s] = std::min(minimum[s], score);
          maximum[s] = std::max(maximum[s], std::min(score, 1.0f));
        }
      }
      ASSERT_EQ(row->item->minimum, minimum);
      ASSERT_EQ(row->item->maximum, maximum);
      int32_t first = 0;
      int32_t last = 0;
      ASSERT_TRUE(model.TableRange(static_cast<int32_t>(i), &first, &last));
      const auto sameGroup = [&](int32_t at) {
        return at >= 0 && at < static_cast<int32_t>(rows.size()) &&
               rows[static_cast<size_t>(at)].group == rows[i].group;
      };
      ASSERT_TRUE(sameGroup(first) && sameGroup(last));
      ASSERT_FALSE(sameGroup(first - 1) || sameGroup(last + 1));
    }
    ASSERT_EQ(model.GroupCount(), rows.empty() ? 0 : rows.back().group);
  }
};

// One walk of random operations; `files` sets how dense the match graph gets.
class DupsModelWalk : public DupsModelTest, public testing::WithParamInterface<uint32_t> {
 protected:
  uint32_t Pick(uint32_t count) { return static_cast<uint32_t>(m_random() % count); }

  CRef<const File> AnyFile() {
    const uint32_t number = Pick(GetParam());
    // Few sizes and artists and the same name in several folders, so that ties are common.
    std::string path = number % 3 ? number % 3 == 1 ? "/a/" : "/b/" : "/c/";
    path += std::to_string(number / 2);
    path += number % 2 ? ".x" : ".y";
    return MakeFile(path, number % 4, number % 5 ? "artist" : "");
  }
  void Arrive(uint32_t count) {
    static constexpr float kSome[] = {-1, 0, 0.5f, 0.75f, 0.9f, 1, 1.5f};
    bool good = true;
    for (uint32_t i = 0; i < count; ++i) {
      CRef<const File> a = AnyFile();
      CRef<const File> b = AnyFile();
      const bool known = m_oracle.pairs.contains({a->path, b->path}) || a->path == b->path;
      if (known && Pick(50)) continue;
      const Scores scores{kSome[Pick(7)], kSome[Pick(7)]};
      m_model.Add(a, b, scores);
      if (good) good = m_oracle.Add(a, b, scores);
    }
    ASSERT_EQ(m_model.ProcessNewData(), good);
  }
  CTestModel::Rows SomeRows() {
    CTestModel::Rows rows{-1, static_cast<int32_t>(m_model.RowCount())};
    for (uint32_t i = 0; i < 3 && m_model.RowCount(); ++i) {
      rows.push_back(static_cast<int32_t>(Pick(static_cast<uint32_t>(m_model.RowCount()))));
    }
    return rows;
  }
  const CTestModel::ViewData* Row(int32_t row) {
    return row >= 0 && row < static_cast<int32_t>(m_model.RowCount()) ? m_model.TableAt(row)
                                                                      : nullptr;
  }
  std::vector<std::string> FilesOf(const CTestModel::Rows& rows) {
    std::vector<std::string> files;
    for (int32_t row : rows) {
      if (!Row(row)) continue;
      const std::string& path = Row(row)->File()->base->path;
      if (std::find(files.begin(), files.end(), path) == files.end()) files.push_back(path);
    }
    return files;
  }

  void Sort() {
    const auto column = static_cast<FieldId>(static_cast<int32_t>(Pick(16)) - 1);
    const bool ascending = Pick(2);
    m_model.SetSort(column, ascending);
    if (column == FieldId::kNone) return;
    m_oracle.column = column;
    m_oracle.ascending = ascending;
  }
  void ChangeMode() {
    m_oracle.flat = Pick(2);
    CConfiguration::Instance().SetBool("enableFlatMode", m_oracle.flat);
    const bool was = m_model.IsFlat();
    ASSERT_EQ(m_model.ReloadSettings(), was != m_oracle.flat);
  }
  void Toggle() {
    const int32_t number = SomeRows().back();
    const CTestModel::ViewData* row = Row(number);
    if (row && !row->pair && !m_oracle.flat) {
      bool& expanded = m_oracle.items.at(row->item->base->path).expanded;
      expanded = !expanded;
    }
    m_model.ToggleGroup(number);
  }
  void Mark() {
    const CTestModel::Rows rows = SomeRows();
    for (const std::string& path : FilesOf(rows)) {
      m_oracle.items.at(path).marked = !m_oracle.items.at(path).marked;
    }
    m_model.MarkRows(rows);
  }
  void Ignore() {
    const CTestModel::Rows rows = SomeRows();
    std::vector<std::pair<std::string, std::string>> gone;
    for (int32_t number : rows) {
      const CTestModel::ViewData* row = Row(number);
      if (!row) continue;
      const std::string path = row->item->base->path;
      if (row->pair) {
        gone.emplace_back(path, row->pair->second->base->path);
      } else {
        for (const std::string& partner : m_oracle.Partners(path)) gone.emplace_back(path, partner);
      }
    }
    m_model.IgnoreRows(rows);
    for (const auto& [a, b] : gone) {
      ASSERT_TRUE(m_ignores.IsPairIgnored(b, a));
      m_oracle.RemovePair(a, b);
    }
  }
  void Act() {
    const CTestModel::Rows rows = SomeRows();
    const std::vector<std::string> wanted = FilesOf(rows);
    const bool follow = Pick(2);
    const auto act = [&](const std::vector<std::string>& paths) {
      EXPECT_EQ(paths, wanted);
      return follow;
    };
    ASSERT_EQ(m_model.ActOnRows(rows, act), follow && !wanted.empty());
    for (const std::string& path : wanted) {
      if (follow) m_oracle.RemoveItem(path);
    }
  }
  void ActOnMarked() {
    std::vector<std::string> marked;
    for (const Oracle::Row& row : m_oracle.Table(m_model)) {
      if (row.partner.empty() && m_oracle.items.at(row.item).marked) marked.push_back(row.item);
    }
    std::vector<std::string> given;
    m_model.ActOnMarked([&](const std::vector<std::string>& paths) {
      given = paths;
      return true;
    });
    ASSERT_EQ(given, marked);
    for (const std::string& path : marked) m_oracle.RemoveItem(path);
  }
  void Swap() {
    const CTestModel::Rows rows = SomeRows();
    if (rows.size() < 5) return;
    const CTestModel::Rows two{rows[2], rows[3]};
    const std::vector<std::string> files = FilesOf(two);
    const bool can = files.size() == 2 && files[0].back() == files[1].back() &&
                     Row(two[0])->item->group == Row(two[1])->item->group;
    ASSERT_EQ(m_model.CanSwap(two), can);
    ASSERT_EQ(m_model.Swap(two, [](const auto&, const auto&) { return true; }), can);
    if (can) m_oracle.Rename({{files[0], files[1]}, {files[1], files[0]}});
  }
  void Rename() {
    if (m_oracle.items.empty()) return;
    const std::string path =
        std::next(m_oracle.items.begin(), Pick(static_cast<uint32_t>(m_oracle.items.size())))
            ->first;
    std::string other = "/r/";
    other += std::to_string(++m_renamed) + path.substr(path.size() - 2);
    m_model.Rename(path, other);
    m_oracle.Rename({{path, other}});
  }
  void Load() {
    const CRef<const File> a = AnyFile();
    const CRef<const File> b = AnyFile();
    const bool known = m_oracle.pairs.contains({a->path, b->path});
    if (Pick(2)) {
      ASSERT_EQ(m_model.BulkRemovePair(a->path, b->path), known);
      m_oracle.RemovePair(a->path, b->path);
    } else if (m_oracle.items.contains(a->path) && m_oracle.items.contains(b->path)) {
      ASSERT_EQ(m_model.BulkAddPair(a->path, b->path, {0.5f, 0.5f}),
                m_oracle.Add(a, b, {0.5f, 0.5f}));
    } else {
      ASSERT_FALSE(m_model.BulkAddPair(a->path, b->path, {0.5f, 0.5f}));
    }
    m_model.Rebuild();
  }

  std::mt19937 m_random{GetParam()};
  CTestModel m_model{m_ignores};
  Oracle m_oracle;
  int m_renamed = 0;
};

TEST_P(DupsModelWalk, RowsAreThoseOfTheStateAfterEachOperation) {
  for (int step = 0; step < 1000 && !HasFatalFailure(); ++step) {
    const uint32_t act = Pick(100);
    if (act < 30)
      Arrive(1 + Pick(5) * Pick(5));
    else if (act < 31)
      Arrive(600);  // in one go, far over the size from which rows are made anew
    else if (act < 42)
      Sort();
    else if (act < 45)
      ChangeMode();
    else if (act < 60)
      Toggle();
    else if (act < 66)
      Mark();
    else if (act < 67)
      ActOnMarked();
    else if (act < 75)
      Ignore();
    else if (act < 83)
      Act();
    else if (act < 90)
      Swap();
    else if (act < 94)
      Rename();
    else
      Load();
    if (HasFatalFailure()) break;
    m_oracle.Check(m_model);
    if (HasFatalFailure()) ADD_FAILURE() << "step " << step << " act " << act;
    if (step % 100 == 99) {  // so that a dense graph starts over
      m_model.Clear();
      m_oracle.items.clear();
      m_oracle.pairs.clear();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Files, DupsModelWalk, testing::Values(8u, 30u, 60u, 120u));

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
