#include "results/automark.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "core/configuration.h"

namespace quill {
namespace {

using Texts = std::vector<std::string>;

class AutomarkTest : public testing::Test {
 protected:
  AutomarkTest() { CConfiguration::Instance().SetStore(&m_settings); }
  ~AutomarkTest() override { CConfiguration::Instance().SetStore(nullptr); }

  struct Sound {
    std::string path;
    uint32_t bitrate = 0;
    uint64_t size = 0;
    uint32_t durationMs = 0;
    std::string artist = {}, title = {};
    uint8_t group = 0;
  };
  void Pair(const Sound& a, const Sound& b, float tags = 1, float content = 1, float precise = 1) {
    const auto base = [&](const Sound& s) {
      return m_audioStore.GetCache(
          {s.path, s.artist, "", s.title, s.durationMs, s.bitrate, 6, s.size});
    };
    m_audio.LockedAdd({base(a), base(b), a.group, b.group, {tags, content, precise}});
    ASSERT_TRUE(m_audio.ProcessNewData());
  }
  void Pair(const std::string& a, uint32_t width, const std::string& b, uint32_t otherWidth,
            float content, float experimental) {
    m_images.LockedAdd({m_imageStore.GetCache({a, width, 100, 5, 8, 1}),
                        m_imageStore.GetCache({b, otherWidth, 100, 5, 8, 1}),
                        0,
                        0,
                        {content, experimental}});
    ASSERT_TRUE(m_images.ProcessNewData());
  }
  void Analyse(const std::string& path, uint32_t sampleRate) {
    const CRef<AnalysisInfo> info = MakeRef<AnalysisInfo>();
    info->path = path;
    info->sampleRate = sampleRate;
    m_analysis.LockedAdd(info);
    ASSERT_TRUE(m_analysis.ProcessNewData());
  }
  template <class Controller>
  static std::set<std::string> Marked(const Controller& model) {
    std::set<std::string> paths;
    model.ForEachItem([&](const typename Controller::ItemData& item) {
      if (item.marked) paths.insert(item.base->path);
    });
    return paths;
  }
  std::set<std::string> Run() {
    m_automark.Mark(m_automark.Allowed());
    return Marked(m_audio);
  }
  // Which of two files is marked when this criterion stands first; both ways round, whatever their
  // addresses.
  std::string Worse(const char* criterion, const Sound& a, const Sound& b) {
    m_settings.Set("audioAutomarkPriorities", Texts{criterion});
    std::string found;
    for (const bool turned : {false, true}) {
      m_audio.Clear();
      turned ? Pair(b, a) : Pair(a, b);
      const std::set<std::string> marked = Run();
      EXPECT_EQ(marked.size(), 1u);
      const std::string one = marked.empty() ? "" : *marked.begin();
      if (found.empty()) found = one;
      if (found != one) return "either";
    }
    return found;
  }

  CMemorySettingsStore m_settings;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_audioStore{m_cache, m_counters};
  CImageStore m_imageStore{m_cache, m_counters};
  CAnalysisStore m_analysisStore{m_cache};
  CIgnoreList m_ignores;
  CAudioDupsController m_audio{m_audioStore, m_ignores};
  CImageDupsController m_images{m_imageStore, m_ignores};
  CAudioAnalysisController m_analysis{m_analysisStore, m_ignores};
  CAudioAutomark m_automark{m_audio, &m_analysis};
  CImageAutomark m_imageAutomark{m_images};
};

TEST_F(AutomarkTest, EachCriterion) {
  m_settings.Set("audioAutomarkFolders", Texts{"/best", "/good", ""});
  m_settings.Set("audioAutomarkExtensions", Texts{"flac", "", "mp3"});
  Analyse("/rated", 8000);
  struct Case {
    const char* criterion;
    Sound worse, better;
  };
  const Case cases[] = {
      {"Rating", {.path = "/unrated"}, {.path = "/rated"}},
      {"Bitrate", {.path = "/a", .bitrate = 64000, .size = 9}, {.path = "/b", .bitrate = 64001}},
      {"Size",
       {.path = "/a", .bitrate = 9, .size = 1ull << 33},
       {.path = "/b", .size = 1ull << 34}},
      {"Tags",
       {.path = "/a", .title = "a very long title"},
       {.path = "/b", .artist = "A", .title = "t"}},
      {"Tags", {.path = "/a", .title = "short"}, {.path = "/b", .title = "longer"}},
      {"Format", {.path = "/a.mp3"}, {.path = "/b.FLAC"}},
      {"Format", {.path = "/a.ogg"}, {.path = "/b.mp3"}},
      {"Format", {.path = "/a.mp3"}, {.path = "/v1.0/b"}},
      {"Group", {.path = "/a", .group = 0}, {.path = "/b", .group = 4}},
      {"Group", {.path = "/a", .group = 2}, {.path = "/b", .group = 1}},
      {"Folder", {.path = "/good/a"}, {.path = "/best/b"}},
      {"Folder", {.path = "/other/a"}, {.path = "/c"}},
      {"Duration", {.path = "/a", .durationMs = 1}, {.path = "/b", .durationMs = 2}},
  };
  for (const Case& one : cases)
    EXPECT_EQ(Worse(one.criterion, one.worse, one.better), one.worse.path) << one.criterion;
  // A tie goes to the next criterion of the list; the default order goes on behind the saved ones.
  EXPECT_EQ(Worse("Folder", {.path = "/x/a", .size = 2}, {.path = "/x/b", .size = 1}), "/x/b");
  EXPECT_EQ(Worse("Format", {.path = "/a.ogg", .bitrate = 1}, {.path = "/b.wma"}), "/b.wma");
}

TEST_F(AutomarkTest, ThresholdsCutPairsAndMarksAreMadeAnew) {
  const Sound good{.path = "/good", .bitrate = 9};
  Pair(good, {.path = "/at the value"}, 0.9F, 0.9F, 0.8F);
  Pair(good, {.path = "/tags below"}, 0.89F, 1, 1);
  Pair(good, {.path = "/content below"}, 1, 0.89F, 1);
  Pair(good, {.path = "/precise not computed"}, 1, 1, -1);
  m_audio.InvertMarked();
  EXPECT_EQ(Run(), (std::set<std::string>{"/at the value"}));
  m_settings.Set("audioAutomarkEnablePrecise", false);
  m_settings.Set("audioAutomarkValueTags", 0.5F);
  EXPECT_EQ(Run(),
            (std::set<std::string>{"/at the value", "/tags below", "/precise not computed"}));
  m_automark.Mark({false, false, false});
  EXPECT_EQ(Marked(m_audio).size(), 4u) << "no score takes part: every pair passes";

  // The best files of a chain stay, however long it is.
  m_audio.Clear();
  Pair({.path = "/1", .bitrate = 1}, {.path = "/2", .bitrate = 2});
  Pair({.path = "/2", .bitrate = 2}, {.path = "/3", .bitrate = 3});
  EXPECT_EQ(Run(), (std::set<std::string>{"/1", "/2"}));
}

TEST_F(AutomarkTest, SavedListsAreCleanedUp) {
  m_settings.Set("audioAutomarkPriorities", Texts{"Duration", "Taste", "Size", "Duration"});
  std::vector<FieldId> priorities;
  ASSERT_TRUE(m_automark.LoadPriorities(false, &priorities));
  EXPECT_EQ(priorities, (std::vector<FieldId>{FieldId::kDuration, FieldId::kSize, FieldId::kRating,
                                              FieldId::kBitrate, FieldId::kTags, FieldId::kFormat,
                                              FieldId::kGroup, FieldId::kFolder}));
  m_automark.SavePriorities({FieldId::kGroup, FieldId::kFormat});
  Texts texts;
  ASSERT_TRUE(CConfiguration::Instance().GetList("audioAutomarkPriorities", &texts));
  EXPECT_EQ(texts, (Texts{"Group", "Format"}));
  ASSERT_TRUE(m_automark.LoadPriorities(true, &priorities));
  EXPECT_EQ(priorities.front(), FieldId::kRating);

  Pair({.path = "/z/a.MP3"}, {.path = "/b/.hidden"});
  Pair({.path = "/z/a.MP3"}, {.path = "relative"});
  m_automark.SaveFolders({"/gone", "/z", "/z"});
  m_automark.SaveExtensions({"mp3", "flac"});
  ASSERT_TRUE(m_automark.LoadFolders(false, &texts));
  EXPECT_EQ(texts, (Texts{"/z", "", "/b"}));
  ASSERT_TRUE(m_automark.LoadFolders(true, &texts));
  EXPECT_EQ(texts, (Texts{"", "/b", "/z"}));
  ASSERT_TRUE(m_automark.LoadExtensions(false, &texts));
  EXPECT_EQ(texts, (Texts{"mp3", "", "hidden"}));
  EXPECT_FALSE(m_automark.LoadFolders(false, nullptr));
}

TEST_F(AutomarkTest, PicturesGoByTheirSizeAndKeepTheirTwoDefaults) {
  Pair("/large", 200, "/small", 100, 0.95F, 0.85F);
  Pair("/large", 200, "/unlike", 100, 0.95F, 0.75F);
  m_imageAutomark.Mark(m_imageAutomark.Allowed());
  EXPECT_EQ(Marked(m_images), (std::set<std::string>{"/small"}));
  EXPECT_FLOAT_EQ(m_imageAutomark.LoadThresholds()[1].value, 0.9F);
  m_imageAutomark.SaveThresholds(m_imageAutomark.LoadThresholds(), {true, false});
  m_imageAutomark.Mark(m_imageAutomark.Allowed());
  EXPECT_EQ(Marked(m_images).size(), 1u) << "a score that is not allowed is not saved";
  m_imageAutomark.SaveThresholds(m_imageAutomark.LoadThresholds(), {true, true});
  m_imageAutomark.Mark(m_imageAutomark.Allowed());
  EXPECT_EQ(Marked(m_images).size(), 0u);

  m_images.Clear();
  Pair("/large", 200, "/small", 100, 1, -1);
  EXPECT_EQ(m_imageAutomark.Allowed(), (std::vector<bool>{true, false}));
  m_imageAutomark.Mark(m_imageAutomark.Allowed());
  EXPECT_EQ(Marked(m_images), (std::set<std::string>{"/small"}));
  m_images.Clear();
  EXPECT_EQ(m_imageAutomark.Allowed(), (std::vector<bool>{false, false}));
}

}  // namespace
}  // namespace quill
