#include "results/audio_dups_controller.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "core/configuration.h"
#include "decoding/wire.h"

namespace quill {
namespace {

class CPartner : public CPartnerTable, public CAnalysisRequests {
 public:
  void RemovePaths(const std::vector<std::string>& paths) override {
    for (const std::string& path : paths) m_said.push_back("removed " + path);
  }
  void ChangePath(std::string_view oldPath, std::string_view newPath, std::string_view artist,
                  std::string_view album, std::string_view title) override {
    std::string line = "changed";
    for (std::string_view part : {oldPath, newPath, artist, album, title}) {
      line += " ";
      line += part;
    }
    m_said.push_back(line);
  }
  void SwapPaths(std::string_view first, std::string_view second) override {
    m_said.push_back("swapped " + std::string(first) + " " + std::string(second));
  }
  void Clear() override { m_said.push_back("cleared"); }
  void RequestAnalysis(std::string path) override { m_said.push_back("analyse " + path); }

  std::vector<std::string> Said() { return std::exchange(m_said, {}); }

 private:
  std::vector<std::string> m_said;
};

using Lines = std::vector<std::string>;

AudioItemRecord Record(const std::string& path) {
  AudioItemRecord item;
  item.path = path;
  return item;
}

class AudioDupsController : public testing::Test {
 protected:
  AudioDupsController() { CConfiguration::Instance().SetStore(&m_settings); }
  ~AudioDupsController() override { CConfiguration::Instance().SetStore(nullptr); }

  CRef<const ItemBase> Base(const std::string& path, uint32_t durationMs = 0) {
    return m_store.GetCache({path, "artist", "album", "title", durationMs, 0, wire::kMp3, 0});
  }
  void Add(const std::string& a, const std::string& b, float content = 1.0f) {
    m_model.LockedAdd({Base(a), Base(b), 1, 2, {0.5f, content, -1.0f}});
    ASSERT_TRUE(m_model.ProcessNewData());
  }
  static Lines OuterPaths(const CAudioDupsController& model) {
    Lines paths;
    for (int32_t row = 0; row < static_cast<int32_t>(model.RowCount()); ++row) {
      if (!model.TableAt(row)->pair) paths.push_back(model.TableAt(row)->item->base->path);
    }
    return paths;
  }
  CMemorySettingsStore m_settings;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_store{m_cache, m_counters};
  CIgnoreList m_ignores;
  CPartner m_partner;
  CAudioDupsController m_model{m_store, m_ignores};
};

TEST_F(AudioDupsController, EachColumnSortsByItsField) {
  // One record that is small in the field and large in the path, and one the other way round.
  struct Case {
    FieldId column;
    void (*set)(AudioItemRecord& item, bool large);
  };
  const Case cases[] = {
      {FieldId::kArtist, [](auto& item, bool large) { item.artist = large ? "b" : "a b"; }},
      {FieldId::kTitle, [](auto& item, bool large) { item.title = large ? "\xc3\xa4" : "z"; }},
      {FieldId::kAlbum, [](auto& item, bool large) { item.album = large ? "ab" : "a"; }},
      {FieldId::kSize, [](auto& item, bool large) { item.size = large ? 1ull << 33 : 5; }},
      {FieldId::kDuration, [](auto& item, bool large) { item.durationMs = large ? 3u << 30 : 1; }},
      {FieldId::kBitrate, [](auto& item, bool large) { item.bitrate = large ? 320000 : 96000; }},
      {FieldId::kGroup, [](auto& item, bool large) { item.group = large ? 4 : 0; }},
      // By text ("PCM" and "AAC"), not by code.
      {FieldId::kFormat,
       [](auto& item, bool large) { item.format = large ? wire::kPcm : wire::kAac; }},
  };
  for (const Case& test : cases) {
    m_model.Clear();
    AudioItemRecord small = Record("/z");
    AudioItemRecord large = Record("/a");
    test.set(small, false);
    test.set(large, true);
    ASSERT_TRUE(m_model.BulkAdd(small));
    ASSERT_TRUE(m_model.BulkAdd(large));
    ASSERT_TRUE(m_model.BulkAdd("/a", "/z", 1, 1, 1));
    m_model.SetSort(test.column, true);
    EXPECT_EQ(OuterPaths(m_model), (Lines{"/z", "/a"})) << FieldIdentifier(test.column);
    m_model.SetSort(test.column, false);
    EXPECT_EQ(OuterPaths(m_model), (Lines{"/a", "/z"})) << FieldIdentifier(test.column);
  }
  // Scores, by the best of each item.
  m_model.Clear();
  for (const char* path : {"/a", "/b", "/c"}) ASSERT_TRUE(m_model.BulkAdd(Record(path)));
  ASSERT_TRUE(m_model.BulkAdd("/a", "/b", 0.25f, 0.5f, 0.75f));
  ASSERT_TRUE(m_model.BulkAdd("/b", "/c", 0.5f, 0.25f, 0.5f));
  for (auto [column, last] :
       {std::pair(FieldId::kTags, "/a"), {FieldId::kContent, "/c"}, {FieldId::kPrecise, "/c"}}) {
    m_model.SetSort(column, false);
    EXPECT_EQ(OuterPaths(m_model).back(), last) << FieldIdentifier(column);
  }
}

TEST_F(AudioDupsController, PartnersHearOfEveryChangeAndRemoval) {
  m_model.AnalyseAll();
  m_model.m_controller = &m_partner;
  Add("/b.mp3", "/a.mp3");
  Add("/c.mp3", "/a.mp3");
  m_model.AnalyseAll();
  EXPECT_EQ(m_partner.Said(), Lines());  // nobody to analyse: the partner keeps what it has
  m_model.m_workers = &m_partner;

  EXPECT_TRUE(m_model.Update("/a.mp3", "A", "B", "C"));
  EXPECT_TRUE(m_model.Rename("/a.mp3", "/d.mp3"));
  EXPECT_FALSE(m_model.Rename("/a.mp3", "/x.mp3"));
  EXPECT_FALSE(m_model.Update("/a.mp3", "", "", ""));
  EXPECT_EQ(m_partner.Said(),
            (Lines{"changed /a.mp3 /a.mp3 A B C", "changed /a.mp3 /d.mp3 A B C"}));
  EXPECT_EQ(OuterPaths(m_model), (Lines{"/b.mp3", "/c.mp3", "/d.mp3"}));
  EXPECT_TRUE(m_model.Swap({2, 0}, [](const std::string& a, const std::string& b) {
    return a == "/d.mp3" && b == "/b.mp3";
  }));
  EXPECT_EQ(m_partner.Said(), (Lines{"swapped /d.mp3 /b.mp3"}));
  std::vector<std::string> partners{"old"};
  EXPECT_TRUE(m_model.FillPairs("/b.mp3", &partners));
  EXPECT_EQ(partners, (Lines{"/c.mp3", "/d.mp3"}));
  EXPECT_FALSE(m_model.FillPairs("/x.mp3", &partners));
  EXPECT_TRUE(partners.empty());
  EXPECT_FALSE(m_model.FillPairs("/b.mp3", nullptr));

  m_model.ToggleGroup(0);
  m_model.AnalyseRows({1, 2, -1, 99, 3});  // the rows 1 and 3 show the same file
  EXPECT_EQ(m_partner.Said(), (Lines{"analyse /c.mp3", "analyse /d.mp3"}));
  m_model.MarkRows({0});
  m_model.AnalyseMarked();
  m_model.AnalyseAll();
  EXPECT_EQ(m_partner.Said(), (Lines{"analyse /b.mp3", "cleared", "analyse /b.mp3",
                                     "analyse /c.mp3", "analyse /d.mp3"}));

  m_model.IgnorePair("/b.mp3", "/x.mp3");
  m_model.IgnorePair("/c.mp3", "/b.mp3");  // c has no other match and goes with it
  EXPECT_TRUE(m_ignores.IsPairIgnored("/b.mp3", "/c.mp3"));
  EXPECT_EQ(OuterPaths(m_model), (Lines{"/b.mp3", "/d.mp3"}));
  EXPECT_EQ(m_partner.Said(), Lines());
  EXPECT_FALSE(m_model.ActOnFile("/d.mp3", [](const auto&) { return false; }));
  EXPECT_TRUE(m_model.ActOnFile("/d.mp3", [](const auto&) { return true; }));
  EXPECT_EQ(m_partner.Said(), (Lines{"removed /d.mp3"}));
  EXPECT_EQ(m_model.ItemCount(), 0u);
}

TEST_F(AudioDupsController, EditsReorderATableSortedByThem) {
  Add("/a.mp3", "/b.mp3");
  m_model.SetSort(FieldId::kTitle, true);
  EXPECT_TRUE(m_model.Update("/a.mp3", "", "", "zz"));
  EXPECT_EQ(OuterPaths(m_model), (Lines{"/b.mp3", "/a.mp3"}));
  m_model.SetSort(FieldId::kFilename, true);
  EXPECT_TRUE(m_model.Rename("/a.mp3", "/c/z.mp3"));
  EXPECT_EQ(OuterPaths(m_model), (Lines{"/b.mp3", "/c/z.mp3"}));
  EXPECT_TRUE(m_model.Swap({0, 1}, [](const auto&, const auto&) { return true; }));
  EXPECT_EQ(OuterPaths(m_model), (Lines{"/b.mp3", "/c/z.mp3"}));
  EXPECT_EQ(m_model.TableAt(0)->item->base->title, "zz");
}

TEST_F(AudioDupsController, LoadRefusesWhatDoesNotFit) {
  EXPECT_TRUE(m_model.BulkAdd(Record("/a")));
  EXPECT_TRUE(m_model.BulkAdd(Record("/a")));
  EXPECT_TRUE(m_model.BulkAdd(Record("/b")));
  EXPECT_FALSE(m_model.BulkAdd("/a", "/c", 1, 1, 1));
  EXPECT_FALSE(m_model.BulkAdd("/a", "/a", 1, 1, 1));
  EXPECT_TRUE(m_model.BulkAdd("/a", "/b", std::nanf(""), 1, 1));
  EXPECT_FALSE(m_model.BulkAdd("/b", "/a", 1, 1, 1));
  EXPECT_FALSE(m_model.BulkRemove("/a", "/c"));
  EXPECT_FALSE(m_model.BulkChange("/c", "/d", "", "", ""));
  EXPECT_FALSE(m_model.LockedAdd({Base("/x"), {}, 0, 0, {1, 1, 1}}));
  EXPECT_EQ(m_model.RowCount(), 0u);
  m_model.RebuildRows();
  EXPECT_EQ(OuterPaths(m_model), (Lines{"/a", "/b"}));
  // A score that is no number would have no place in the order.
  EXPECT_EQ(m_model.TableAt(0)->item->minimum[AudioDupsTraits::kTags], -1.0f);
  EXPECT_TRUE(m_model.BulkRemove("/b", "/a"));
  EXPECT_EQ(m_model.ItemCount(), 0u);
  m_model.RebuildRows();
  EXPECT_EQ(m_model.RowCount(), 0u);
}

}  // namespace
}  // namespace quill
