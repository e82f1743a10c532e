// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/automark.h"

#include <set>

#include "results/result_tables.h"

namespace quill {
namespace {

using test::Sound;
using Texts = std::vector<std::string>;
using Paths = std::set<std::string>;

class AutomarkTest : public test::CResultTables {
 protected:
  void Pictures(const std::string& a, const std::string& b, float content, float experimental) {
    m_images.LockedAdd({m_imageStore.GetCache({a, 200, 100, 5, 8, 1}),
                        m_imageStore.GetCache({b, 100, 100, 5, 8, 2}),
                        0,
                        0,
                        {content, experimental}});
    ASSERT_TRUE(m_images.ProcessNewData());
  }
  template <class Controller>
  static Paths Marked(const Controller& model) {
    Paths paths;
    model.ForEachItem([&](const typename Controller::ItemData& item) {
      if (item.marked) paths.insert(item.base->path);
    });
    return paths;
  }
  Paths Run() {
    m_automark.Mark(m_automark.Allowed());
    return Marked(m_audio);
  }
  Paths RunImages() {
    m_imageAutomark.Mark(m_imageAutomark.Allowed());
    return Marked(m_images);
  }

  CMemorySettingsStore& m_store = m_settings.store;
  CAudioAutomark m_automark{m_audio, &m_analysis};
  CImageAutomark m_imageAutomark{m_images};
};

TEST_F(AutomarkTest, EachCriterion) {
  m_store.Set("audioAutomarkFolders", Texts{"/best", "/good", ""});
  m_store.Set("audioAutomarkExtensions", Texts{"flac", "", "mp3"});
  m_analysis.LockedAdd(test::At<AnalysisInfo>("/rated"));
  ASSERT_TRUE(m_analysis.ProcessNewData());
  // The criterion behind it would have it the other way round.
  const struct {
    const char* criterion;
    Sound worse, better;
  } cases[] = {
      {"Rating", {.path = "/unrated", .bitrate = 9}, {.path = "/rated"}},
      {"Bitrate", {.path = "/a", .bitrate = 64000, .size = 9}, {.path = "/b", .bitrate = 64001}},
      {"Size",
       {.path = "/a", .bitrate = 9, .size = 1ull << 33},
       {.path = "/b", .size = 1ull << 34}},
      {"Tags",
       {.path = "/a", .bitrate = 9, .title = "a very long title"},
       {.path = "/b", .artist = "A", .title = "t"}},
      {"Tags", {.path = "/a", .bitrate = 9, .title = "short"}, {.path = "/b", .title = "longer"}},
      {"Format", {.path = "/a.mp3", .bitrate = 9}, {.path = "/b.FLAC"}},
      {"Format", {.path = "/a.ogg", .bitrate = 9}, {.path = "/b.mp3"}},
      {"Format", {.path = "/a.mp3", .bitrate = 9}, {.path = "/v1.0/b"}},
      {"Group", {.path = "/a", .bitrate = 9, .group = 0}, {.path = "/b", .group = 4}},
      {"Group", {.path = "/a", .bitrate = 9, .group = 2}, {.path = "/b", .group = 1}},
      {"Folder", {.path = "/good/a", .bitrate = 9}, {.path = "/best/b"}},
      {"Folder", {.path = "/other/a", .bitrate = 9}, {.path = "/c"}},
      {"Duration", {.path = "/a", .bitrate = 9, .durationMs = 1}, {.path = "/b", .durationMs = 2}},
      // A tie goes to the next criterion of the list; the default order goes on behind the saved
      // ones.
      {"Folder", {.path = "/x/b", .size = 1}, {.path = "/x/a", .size = 2}},
      {"Format", {.path = "/b.wma"}, {.path = "/a.ogg", .bitrate = 1}},
  };
  for (const auto& [criterion, worse, better] : cases) {
    m_store.Set("audioAutomarkPriorities", Texts{criterion});
    // Both ways round, whatever the addresses.
    for (const bool turned : {false, true}) {
      m_audio.Clear();
      turned ? Pair(better, worse) : Pair(worse, better);
      EXPECT_EQ(Run(), Paths{worse.path}) << criterion << turned;
    }
  }
}

TEST_F(AutomarkTest, ThresholdsCutPairsAndMarksAreMadeAnew) {
  const Sound good{.path = "/good", .bitrate = 9};
  Pair(good, {.path = "/at the value"}, {0.9F, 0.9F, 0.8F});
  Pair(good, {.path = "/tags below"}, {0.89F, 1, 1});
  Pair(good, {.path = "/content below"}, {1, 0.89F, 1});
  Pair(good, {.path = "/precise not computed"}, {1, 1, -1});
  m_audio.InvertMarked();
  EXPECT_EQ(Run(), Paths{"/at the value"});
  m_store.Set("audioAutomarkEnablePrecise", false);
  m_store.Set("audioAutomarkValueTags", 0.5F);
  EXPECT_EQ(Run(), (Paths{"/at the value", "/tags below", "/precise not computed"}));
  m_automark.Mark({false, false, false});
  EXPECT_EQ(Marked(m_audio).size(), 4U) << "no score takes part: every pair passes";

  // The best files of a chain stay, however long it is.
  m_audio.Clear();
  Pair({.path = "/1", .bitrate = 1}, {.path = "/2", .bitrate = 2});
  Pair({.path = "/2", .bitrate = 2}, {.path = "/3", .bitrate = 3});
  EXPECT_EQ(Run(), (Paths{"/1", "/2"}));
}

TEST_F(AutomarkTest, SavedListsAreCleanedUp) {
  m_store.Set("audioAutomarkPriorities", Texts{"Duration", "Taste", "Size", "Duration"});
  std::vector<FieldId> priorities;
  ASSERT_TRUE(m_automark.LoadPriorities(false, &priorities));
  EXPECT_EQ(priorities, (std::vector<FieldId>{FieldId::kDuration, FieldId::kSize, FieldId::kRating,
                                              FieldId::kBitrate, FieldId::kTags, FieldId::kFormat,
                                              FieldId::kGroup, FieldId::kFolder}));
  ASSERT_TRUE(m_automark.LoadPriorities(true, &priorities));
  EXPECT_EQ(priorities.front(), FieldId::kRating);
  m_automark.SavePriorities({FieldId::kGroup, FieldId::kFormat});
  Texts texts;
  ASSERT_TRUE(CConfiguration::Instance().GetList("audioAutomarkPriorities", &texts));
  EXPECT_EQ(texts, (Texts{"Group", "Format"}));

  Pair({"/z/a.MP3"}, {"/b/.hidden"});
  Pair({"/z/a.MP3"}, {"relative"});
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
  EXPECT_EQ(m_imageAutomark.Allowed(), (std::vector<bool>{false, false}));
  Pictures("/large", "/small", 0.95F, -1);
  EXPECT_EQ(m_imageAutomark.Allowed(), (std::vector<bool>{true, false}));
  EXPECT_EQ(RunImages(), Paths{"/small"});

  m_images.Clear();
  Pictures("/large", "/small", 0.95F, 0.85F);
  Pictures("/large", "/unlike", 0.95F, 0.75F);
  EXPECT_EQ(RunImages(), Paths{"/small"});
  EXPECT_FLOAT_EQ(m_imageAutomark.LoadThresholds()[1].value, 0.9F);
  m_imageAutomark.SaveThresholds(m_imageAutomark.LoadThresholds(), {true, false});
  EXPECT_EQ(RunImages(), Paths{"/small"}) << "a score that is not allowed is not saved";
  m_imageAutomark.SaveThresholds(m_imageAutomark.LoadThresholds(), {true, true});
  EXPECT_EQ(RunImages(), Paths());
}

}  // namespace
}  // namespace quill
