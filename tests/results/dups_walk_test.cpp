// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "decoding/wire.h"
#include "results/dups_oracle.h"
#include "results/result_tables.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using test::Describe;
using test::Number;

struct AudioKit {
  using Base = ItemBase;
  using Store = CAudioStore;
  using Controller = CAudioDupsController;
  using Scores = AudioDupsTraits::Scores;
  static constexpr std::array kScoreColumns = {FieldId::kTags, FieldId::kContent,
                                               FieldId::kPrecise};

  // Few values in each field, so that ties are common.
  static AudioFacts Make(const std::string& path, uint32_t number) {
    static constexpr const char* kAlbums[] = {"a b", "\xc3\xa4", "ab"};
    return {path,
            number % 5 ? "artist" : "",
            kAlbums[number % 3],
            std::to_string(number % 7),
            number % 4 << 30,
            number % 2 ? 320000U : 96000U,
            static_cast<uint16_t>(number % 2 ? wire::kPcm : wire::kAac),  // codes the other way
            uint64_t{number % 4} << 31};
  }
  static std::string Text(FieldId column, const ItemBase& base) {
    if (column == FieldId::kArtist) return base.artist;
    if (column == FieldId::kAlbum) return base.album;
    if (column == FieldId::kTitle) return base.title;
    if (column == FieldId::kFormat) return base.format == wire::kPcm ? "PCM" : "AAC";
    if (column == FieldId::kDuration) return Number(base.durationMs);
    if (column == FieldId::kBitrate) return Number(base.bitrate);
    return "";
  }
  // Gives the file another path and the tags of another file; what it is now.
  static CRef<ItemBase> Change(CAudioDupsController& table, const ItemBase& file,
                               const AudioFacts& other) {
    CRef<ItemBase> now = Describe<ItemBase>(file, other.path);
    EXPECT_TRUE(table.Rename(file.path, other.path));
    now->artist = other.artist;
    now->album = other.album;
    now->title = other.title;
    EXPECT_TRUE(table.Update(other.path, other.artist, other.album, other.title));
    return now;
  }
  static CResultsJournal Journal(CAudioDupsController& table) { return {&table, nullptr, nullptr}; }
};

struct ImageKit {
  using Base = ImageInfo;
  using Store = CImageStore;
  using Controller = CImageDupsController;
  using Scores = ImageDupsTraits::Scores;
  static constexpr std::array kScoreColumns = {FieldId::kContent, FieldId::kExperimental};

  static ImageFacts Make(const std::string& path, uint32_t number) {
    // Equal areas of two shapes, and two that wrap at 32 bits.
    static constexpr std::pair<uint32_t, uint32_t> kSizes[] = {
        {1000, 2000}, {2000, 1000}, {65536, 65536}, {65537, 65536}, {640, 480}};
    return {path,
            kSizes[number % 5].first,
            kSizes[number % 5].second,
            static_cast<uint8_t>(number % 3 + 3),
            static_cast<uint8_t>(number % 2 ? 8 : 24),
            uint64_t{number % 4} << 31};
  }
  static std::string Text(FieldId column, const ImageInfo& info) {
    if (column == FieldId::kFormat) return Number(info.format) + Number(info.bits);
    if (column != FieldId::kResolution) return "";
    return Number(uint64_t{info.width} * info.height % (uint64_t{1} << 32));
  }
  static CRef<ImageInfo> Change(CImageDupsController& table, const ImageInfo& file,
                                const ImageFacts& other) {
    CRef<ImageInfo> now = Describe<ImageInfo>(file, other.path);
    EXPECT_TRUE(table.BulkChange(file.path, other.path));
    table.RebuildRows();
    return now;
  }
  static CResultsJournal Journal(CImageDupsController& table) { return {nullptr, &table, nullptr}; }
};

template <class Kit>
class CModel final : public Kit::Controller {
 public:
  using Kit::Controller::BulkAddPair;
  using Kit::Controller::BulkRemovePair;
  using Kit::Controller::Controller;
};

// One walk of random operations; `files` sets how dense the match graph gets.
template <class Kit>
class CWalk {
 public:
  using Base = typename Kit::Base;
  using Rows = typename CModel<Kit>::Rows;
  using ViewData = typename CModel<Kit>::ViewData;
  using Scores = typename Kit::Scores;

  explicit CWalk(uint32_t files) : m_files(files), m_random(files) {
    EXPECT_TRUE(m_journal.OpenForWriting(m_path));
    m_model.m_journal = &m_journal;
  }
  ~CWalk() { m_model.m_journal = nullptr; }

  void Run() {
    // How often each comes, out of 100.
    static constexpr std::pair<uint32_t, void (CWalk::*)()> kActs[] = {
        {31, &CWalk::Arrive}, {11, &CWalk::Sort},  {3, &CWalk::ChangeMode}, {15, &CWalk::Toggle},
        {6, &CWalk::Mark},    {8, &CWalk::Ignore}, {9, &CWalk::Act},        {7, &CWalk::Swap},
        {4, &CWalk::Change},  {6, &CWalk::Load}};
    for (int step = 0; step < 600; ++step) {
      size_t act = 0;
      for (uint32_t chance = Pick(100); chance >= kActs[act].first; ++act)
        chance -= kActs[act].first;
      SCOPED_TRACE(testing::Message() << "step " << step << " act " << act);
      (this->*kActs[act].second)();
      if (!testing::Test::HasFatalFailure()) m_oracle.Check(m_model);
      if (step % 45 == 44 && !testing::Test::HasFatalFailure()) CheckReload();
      if (testing::Test::HasFatalFailure()) return;
      if (step % 100 == 99) {  // so that a dense graph starts over
        m_model.Clear();
        m_oracle.items.clear();
        m_oracle.pairs.clear();
      }
    }
  }

 private:
  using Oracle = test::Oracle<Kit>;

  uint32_t Pick(uint32_t count) { return static_cast<uint32_t>(m_random() % count); }

  typename Base::Facts AnyFacts() {
    const uint32_t number = Pick(m_files);
    // The same name in several folders, so that ties are common.
    std::string path = number % 3 ? number % 3 == 1 ? "/a/" : "/b/" : "/c.y/";
    path += std::to_string(number / 2);
    path += number % 2 ? number % 4 == 1 ? ".x" : ".X" : number % 4 ? ".y" : "";
    return Kit::Make(path, number);
  }
  CRef<const Base> AnyFile() {
    const auto facts = AnyFacts();
    return Describe<Base>(facts, facts.path);
  }
  void Arrive() {
    static constexpr float kSome[] = {-1, 0, 0.5f, 0.75f, 0.9f, 1, 1.5f};
    // A few of them, many that are merged in one pass, or very many.
    const uint32_t kind = Pick(31);
    const uint32_t count = kind < 25 ? 1 + Pick(5) * Pick(5) : kind < 30 ? 32 + Pick(10) : 300;
    bool good = true;
    for (uint32_t i = 0; i < count; ++i) {
      const CRef<const Base> a = AnyFile(), b = AnyFile();
      const bool known = m_oracle.pairs.contains({a->path, b->path}) || a->path == b->path;
      if (known && Pick(50)) continue;
      Scores scores;
      for (float& score : scores) score = kSome[Pick(7)];
      m_model.LockedAdd({a, b, 1, 2, scores});
      if (good) good = m_oracle.Add(a, b, scores);
    }
    ASSERT_EQ(m_model.ProcessNewData(), good);
  }
  Rows SomeRows() {
    Rows rows{-1, static_cast<int32_t>(m_model.RowCount())};
    for (uint32_t i = 0; i < 3 && m_model.RowCount(); ++i) {
      rows.push_back(static_cast<int32_t>(Pick(static_cast<uint32_t>(m_model.RowCount()))));
    }
    return rows;
  }
  const ViewData* Row(int32_t row) {
    return row >= 0 && row < static_cast<int32_t>(m_model.RowCount()) ? m_model.TableAt(row)
                                                                      : nullptr;
  }
  std::vector<std::string> FilesOf(const Rows& rows) {
    std::vector<std::string> files;
    for (int32_t row : rows) {
      if (!Row(row)) continue;
      const std::string& path = Row(row)->File()->base->path;
      if (std::find(files.begin(), files.end(), path) == files.end()) files.push_back(path);
    }
    return files;
  }

  void Sort() {
    const auto column = static_cast<FieldId>(static_cast<int32_t>(Pick(19)) - 1);
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
    const ViewData* row = Row(number);
    if (row && !row->pair && !m_oracle.flat)
      m_oracle.items.at(row->item->base->path).expanded ^= true;
    m_model.ToggleGroup(number);
  }
  void Mark() {
    const Rows rows = SomeRows();
    for (const std::string& path : FilesOf(rows)) m_oracle.items.at(path).marked ^= true;
    m_model.MarkRows(rows);
  }
  void Ignore() {
    const Rows rows = SomeRows();
    std::vector<std::pair<std::string, std::string>> gone;
    for (int32_t number : rows) {
      const ViewData* row = Row(number);
      if (!row) continue;
      const std::string path = row->item->base->path;
      for (const std::string& partner : m_oracle.Partners(path))
        if (!row->pair || row->File()->base->path == partner) gone.emplace_back(path, partner);
    }
    m_model.IgnoreRows(rows);
    for (const auto& [a, b] : gone) {
      ASSERT_TRUE(m_ignores.IsPairIgnored(b, a));
      m_oracle.RemovePair(a, b);
    }
  }
  void Act() {
    const Rows rows = SomeRows();
    const bool marked = Pick(9) == 0, follow = Pick(2);
    std::vector<std::string> wanted;
    if (!marked) wanted = FilesOf(rows);
    for (const typename Oracle::Row& row : m_oracle.Table(m_model))
      if (marked && row.partner.empty() && m_oracle.items.at(row.item).marked)
        wanted.push_back(row.item);
    const auto act = [&](std::vector<std::string>* paths) {
      EXPECT_EQ(*paths, wanted);
      return follow;
    };
    ASSERT_EQ(marked ? m_model.ActOnMarked(act) : m_model.ActOnRows(rows, act),
              follow && !wanted.empty());
    for (const std::string& path : wanted)
      if (follow) m_oracle.RemoveItem(path);
  }
  static std::string Extension(const std::string& path) {
    const size_t point = path.find('.', path.rfind('/'));
    std::string extension = point == path.npos ? "" : path.substr(point);
    if (extension == ".X") extension = ".x";
    return extension;
  }
  void Swap() {
    Rows rows = SomeRows();
    if (Pick(8) == 0) std::swap(rows[0], rows[rows.size() - 1 - Pick(2)]);
    rows.erase(rows.begin(), rows.end() - std::min<ptrdiff_t>(std::ssize(rows), 2));
    if (Pick(8) == 0) rows.push_back(-1);
    if (Pick(8) == 0) rows.erase(rows.begin());
    const std::vector<std::string> files = FilesOf(rows);
    const bool can = rows.size() == 2 && files.size() == 2 &&
                     Extension(files[0]) == Extension(files[1]) &&
                     Row(rows[0])->item->group == Row(rows[1])->item->group;
    const bool agrees = Pick(4);
    ASSERT_EQ(m_model.CanSwap(rows), can);
    ASSERT_EQ(m_model.Swap(rows, [&](const auto&, const auto&) { return agrees; }), can && agrees);
    if (can && agrees) m_oracle.Rename({{files[0], files[1]}, {files[1], files[0]}});
  }
  void Change() {
    if (m_oracle.items.empty()) return;
    const auto item =
        std::next(m_oracle.items.begin(), Pick(static_cast<uint32_t>(m_oracle.items.size())));
    const auto [path, file] = std::pair(item->first, item->second.file);
    auto other = AnyFacts();
    other.path = "/r/" + std::to_string(++m_renamed) + Extension(path);
    const CRef<const Base> now = Kit::Change(m_model, *file, other);
    m_oracle.Rename({{path, other.path}});
    m_oracle.items.at(other.path).file = now;
  }
  void Load() {
    Scores scores;
    scores.fill(0.5f);
    const CRef<const Base> a = AnyFile(), b = AnyFile();
    const bool known = m_oracle.pairs.contains({a->path, b->path});
    if (Pick(2)) {
      ASSERT_EQ(m_model.BulkRemovePair(a->path, b->path), known);
      m_oracle.RemovePair(a->path, b->path);
    } else {
      const bool there = m_oracle.items.contains(a->path) && m_oracle.items.contains(b->path);
      ASSERT_EQ(m_model.BulkAddPair(a->path, b->path, scores), there && m_oracle.Add(a, b, scores));
    }
    m_model.Rebuild();
  }

  // What the journal holds, and a file that the table writes, is the state but for what the user
  // has marked and expanded.
  void CheckReload() {
    CResultsJournal writer = Kit::Journal(m_model);
    ASSERT_TRUE(writer.OpenForWriting(m_folder / "saved") && writer.Rebuild());
    Oracle state = m_oracle;
    for (auto& [path, item] : state.items) item.marked = item.expanded = false;
    for (const std::string& path : {m_path, m_folder / "saved"}) {
      SCOPED_TRACE(path);
      CModel<Kit> loaded(m_store, m_ignores);
      CResultsJournal reader = Kit::Journal(loaded);
      ASSERT_TRUE(reader.OpenForReading(path) && reader.Load());
      state.Check(loaded);
    }
  }

  const uint32_t m_files;
  std::mt19937 m_random;
  test::CTempFolder m_folder;
  const std::string m_path = m_folder / "autosave.quillmarsh";
  test::COwnSettings m_settings;
  CCacheStore m_cache;
  CScanCounters m_counters;
  typename Kit::Store m_store{m_cache, m_counters};
  CIgnoreList m_ignores;
  CModel<Kit> m_model{m_store, m_ignores};
  CResultsJournal m_journal = Kit::Journal(m_model);
  Oracle m_oracle;
  int m_renamed = 0;
};

// From a graph in which all is one group to one of many small groups.
template <class Kit>
void WalkAll() {
  for (uint32_t files : {8, 30, 60, 200}) {
    SCOPED_TRACE(files);
    CWalk<Kit>(files).Run();
    if (testing::Test::HasFatalFailure()) break;
  }
}

TEST(DupsWalk, Audio) {
  WalkAll<AudioKit>();
}
TEST(DupsWalk, Images) {
  WalkAll<ImageKit>();
}

}  // namespace
}  // namespace quill
