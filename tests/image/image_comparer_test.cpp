// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_comparer.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <array>
#include <cmath>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "decoding/link_test.h"
#include "image/test_picture.h"

namespace quill {
namespace {

struct Pair {
  std::string first, second;
  uint8_t firstGroup, secondGroup;
  float content, experimental;
};

class CCollector : public CImagePairSink {
 public:
  bool LockedAdd(CImagePairSink::Found pair) override {
    const std::lock_guard lock(m_mutex);
    const auto& [content, experimental] = pair.scores;
    m_pairs.push_back({pair.first->path, pair.second->path, pair.firstGroup, pair.secondGroup,
                       content, experimental});
    return true;
  }
  std::mutex m_mutex;
  std::vector<Pair> m_pairs;
};

// The engines of a scan share all but their decoder.
class CShared {
 public:
  CCacheStore m_cache;
  CScanCounters m_counters;
  CImageStore m_store{m_cache, m_counters};
  CIgnoreList m_ignores;
  ImageSettings m_settings;
  CCollector m_sink;
};

class CEngine {
 public:
  CEngine(CShared& shared, CDecoderTable& table, const std::string& program)
      : m_link(table, program),
        m_comparer(m_decoder, shared.m_store, shared.m_ignores, shared.m_settings, shared.m_sink) {}

  CProcessLink m_link;
  CImageDecoder m_decoder{m_link};
  CImageComparer m_comparer;
};

// Pictures put into the store by hand; no decoder runs.
class ImageWalk : public testing::Test {
 protected:
  void Add(const ImageEntry& parts, uint8_t group = 0) {
    const std::string& path = parts.info->path;
    ASSERT_EQ(m_shared.m_store.File(path, parts, group, false), CImageStore::Filed::kYes);
    ASSERT_TRUE(m_engine.m_comparer.CompareFile(path));
  }
  const std::vector<Pair>& Pairs() const { return m_shared.m_sink.m_pairs; }

  CShared m_shared;
  CDecoderTable m_table;
  CEngine m_engine{m_shared, m_table, "/no decoder"};
};

TEST_F(ImageWalk, FolderGroupsAndIgnoredPairs) {
  const test::Picture picture = test::Photograph(1);
  m_shared.m_ignores.AddIgnore("/0b", "/3b");
  Add(test::Entry("/0a", picture), 0);
  Add(test::Entry("/0b", picture), 0);
  Add(test::Entry("/3a", picture), 3);
  Add(test::Entry("/3b", picture), 3);
  std::vector<std::string> seen;
  for (const Pair& pair : Pairs()) seen.push_back(pair.first + pair.second);
  EXPECT_EQ(seen, (std::vector<std::string>{"/0b/0a", "/3a/0a", "/3a/0b", "/3b/0a"}));
  EXPECT_EQ(Pairs().back().firstGroup, 3);
  EXPECT_EQ(Pairs().back().secondGroup, 0);
  EXPECT_FALSE(m_engine.m_comparer.CompareFile("/unknown"));
}

TEST_F(ImageWalk, EitherScoreReportsBoth) {
  const ImageEntry first = test::Entry("/a", test::Photograph(1));
  const ImageEntry other = test::Entry("/b", test::Photograph(2));
  m_shared.m_settings.Configure(true, true, 0, 0);
  Add(first);
  Add(other);
  ASSERT_EQ(Pairs().size(), 1U);
  const float content = Pairs()[0].content;
  const float experimental = Pairs()[0].experimental;
  EXPECT_GT(experimental, 0);

  struct Case {
    bool contentOn, experimentalOn;
    float contentLeast, experimentalLeast;
    std::vector<std::array<float, 2>> pairs;
  };
  const std::array<Case, 7> cases = {{{true, true, 1, 1, {}},
                                      {true, true, 1, experimental, {{content, experimental}}},
                                      {true, true, content, 1, {{content, experimental}}},
                                      {true, true, 1, std::nextafter(experimental, 1.0F), {}},
                                      {false, true, 0, 0, {{-1, experimental}}},
                                      {true, false, 0, 0, {{content, -1}}},
                                      {false, true, 0, 1, {}}}};
  for (const Case& c : cases) {
    m_shared.m_sink.m_pairs.clear();
    m_shared.m_settings.Configure(c.contentOn, c.experimentalOn, c.contentLeast,
                                  c.experimentalLeast);
    ASSERT_TRUE(m_engine.m_comparer.CompareFile("/b"));
    std::vector<std::array<float, 2>> pairs;
    for (const Pair& pair : Pairs()) pairs.push_back({pair.content, pair.experimental});
    EXPECT_EQ(pairs, c.pairs) << c.contentLeast << " " << c.experimentalLeast;
  }
}

TEST_F(ImageWalk, SignaturesThatOneSideLacksHaveNoScore) {
  m_shared.m_settings.Configure(true, true, 0.75F, 0.75F);
  const ImageEntry full = test::Entry("/full", test::Photograph(1));
  for (const bool content : {false, true}) {
    for (const bool experimental : {false, true}) {
      ImageEntry parts = full;
      parts.info = test::Info("/" + std::to_string(content) + std::to_string(experimental));
      if (!content) parts.content = {};
      if (!experimental) parts.experimental = {};
      Add(parts);
    }
  }
  ASSERT_EQ(Pairs().size(), 2U);
  EXPECT_EQ(Pairs()[0].second, "/01");
  EXPECT_EQ(Pairs()[0].content, -1);
  EXPECT_EQ(Pairs()[1].second, "/10");
  EXPECT_EQ(Pairs()[1].experimental, -1);
}

TEST(ImageSettings, ValuesAreClamped) {
  ImageSettings settings;
  EXPECT_TRUE(settings.ComparesAnything());
  settings.Configure(false, true, -1, 2);
  EXPECT_EQ(settings.mode, ImageSettings::kExperimental);
  EXPECT_EQ(settings.content, 0);
  EXPECT_EQ(settings.experimental, 1);
  settings.Configure(false, false, std::nanf(""), 0.5F);
  EXPECT_EQ(settings.content, 0);
  EXPECT_FALSE(settings.ComparesAnything());
}

// Files whose content tells the fake decoder what to say of them.
class ImageFiles : public test::LinkTest {
 protected:
  // The lines by which a file stands for a picture.
  test::Lines Shown(const test::Picture& picture) {
    const std::string pixels = m_folder / ("pixels" + std::to_string(m_pictures++));
    test::WriteAll(pixels, picture.Bytes());
    return {"image-open log opened",
            "image-open reply",
            "image-info reply 5 32 7 8",
            "image-data fill " + pixels + " " + std::to_string(picture.pixels.size()),
            "image-data reply " + std::to_string(picture.width) + " " +
                std::to_string(picture.height) + " " +
                std::to_string(picture.width * picture.channels) + " " +
                (picture.channels == 4 ? "2" : "0"),
            "image-close log closed"};
  }
  std::string PictureFile(const test::Picture& picture) { return Script(Shown(picture)); }
  ImageEntry Find(const std::string& path) const {
    ImageEntry entry;
    EXPECT_TRUE(m_shared.m_store.FindEntry(path, &entry));
    return entry;
  }
  bool Prepare(const std::string& path, uint32_t mode = kAll) {
    return m_engine.m_comparer.PrepareFile(path, 3, mode);
  }

  static constexpr uint32_t kAll =
      CImageComparer::kInfo | CImageComparer::kContent | CImageComparer::kExperimental;
  CShared m_shared;
  CEngine m_engine{m_shared, m_table, FAKE_DECODER};
  int m_pictures = 0;
};

TEST_F(ImageFiles, PictureIsDescribedAndFiledOnce) {
  const test::Picture picture = test::Photograph(4, 90, 70);
  const std::string path = PictureFile(picture);
  ASSERT_TRUE(Prepare(path));
  const ImageEntry entry = Find(path);
  EXPECT_EQ(entry.group, 3U);
  EXPECT_EQ(entry.info->path, path);
  EXPECT_EQ(entry.info->format, 5);
  EXPECT_EQ(entry.info->bits, 32);
  EXPECT_EQ(entry.info->width, 90U);  // those of the pixels
  EXPECT_EQ(entry.info->height, 70U);
  EXPECT_EQ(entry.info->size, std::filesystem::file_size(path));
  const ImageEntry expected = test::Entry(path, picture);
  EXPECT_EQ(entry.content->rows, expected.content->rows);
  EXPECT_EQ(entry.experimental->quadrant2.Values(), expected.experimental->quadrant2.Values());
  EXPECT_EQ(Messages(), (test::Lines{"opened", "closed"}));
  EXPECT_FALSE(Prepare(path));
  EXPECT_EQ(TakeLog().messages, test::Lines{});
}

TEST_F(ImageFiles, TwinsAreReportedWithTheNewerFirst) {
  const test::Picture picture = test::Photograph(4, 90, 70);
  const std::string first = PictureFile(picture);
  const std::string second = PictureFile(test::Oriented(picture, 5));
  for (const std::string& path : {first, PictureFile(test::Photograph(5)), second})
    EXPECT_TRUE(m_engine.m_comparer.ProcessFile(path, 0));
  const std::vector<Pair>& pairs = m_shared.m_sink.m_pairs;
  ASSERT_EQ(pairs.size(), 1U);
  EXPECT_EQ(pairs[0].first, second);
  EXPECT_EQ(pairs[0].second, first);
  EXPECT_GT(pairs[0].content, 0.999F);
  EXPECT_GT(pairs[0].experimental, 0.999F);
}

TEST_F(ImageFiles, FilesThatAreNoPicturesAreLeftInSilence) {
  for (const std::string& path :
       {Script({}), m_folder / "missing", PictureFile(test::Picture(1, 70)),
        PictureFile(test::Picture(70, 1))}) {
    EXPECT_FALSE(m_engine.m_comparer.ProcessFile(path, 0)) << path;
  }
  EXPECT_EQ(Reports(), "");
  EXPECT_EQ(m_shared.m_store.EntryCount(), 0U);
  ASSERT_TRUE(Prepare(PictureFile(test::Picture(2, 2))));
}

TEST_F(ImageFiles, NothingToCompareStartsNoDecoder) {
  m_shared.m_settings.Configure(false, false, 0, 0);
  EXPECT_FALSE(m_engine.m_comparer.ProcessFile(PictureFile(test::Photograph(1)), 0));
  EXPECT_FALSE(Prepare(PictureFile(test::Photograph(1)), 0));
  EXPECT_EQ(Reports(), "PrepareFile ");
  EXPECT_FALSE(m_engine.m_link.IsOpen());
}

// Each ends its own file, and the next one finds the decoder ready.
TEST_F(ImageFiles, FailuresInTheMiddleCloseTheFile) {
  const test::Picture picture = test::Photograph(4, 80, 70);
  const auto changed = [&](size_t line, const std::string& text) {
    test::Lines lines = Shown(picture);
    lines[line] = text;
    return Script(lines);
  };
  const struct {
    std::string path;
    bool survives;  // the decoder
  } kCases[] = {
      {changed(4, "image-data status 5"), true},
      {changed(4, "image-data reply 80 70 100 0"), false},  // rows run over: it cannot be believed
      {changed(4, "image-data exit 11"), false},
      {changed(2, "image-info exit 11"), false},
  };
  for (const auto& each : kCases) {
    EXPECT_FALSE(Prepare(each.path));
    const Logged logged = TakeLog();
    EXPECT_NE(logged.reports.find("PrepareFile "), std::string::npos);
    EXPECT_EQ(logged.messages.front(), "opened");
    EXPECT_EQ(logged.messages.back() == "closed", each.survives);
    EXPECT_EQ(m_engine.m_link.IsOpen(), each.survives);
    EXPECT_TRUE(Prepare(PictureFile(picture)));
    (void)TakeLog();
  }
  // Without information the picture still counts.
  const std::string unnamed = changed(2, "image-info status 5");
  EXPECT_TRUE(Prepare(unnamed));
  EXPECT_EQ(Find(unnamed).info->format, 0);
  EXPECT_EQ(Find(unnamed).info->width, 80U);
}

TEST_F(ImageFiles, OnlyWhatIsMissingIsMade) {
  ASSERT_TRUE(m_shared.m_cache.Load(m_folder / "cache.dat"));
  const std::string path = PictureFile(test::Photograph(4, 80, 70));
  ASSERT_TRUE(Prepare(path, CImageComparer::kInfo | CImageComparer::kContent));
  const ImageEntry first = Find(path);
  EXPECT_FALSE(first.experimental);
  m_shared.m_store.ResetScanState();
  ASSERT_TRUE(Prepare(path, CImageComparer::kInfo | CImageComparer::kExperimental));
  const ImageEntry second = Find(path);
  EXPECT_TRUE(second.experimental);
  EXPECT_EQ(second.info, first.info);
  EXPECT_EQ(second.content, first.content);

  // The next start of the program, with no decoder: all is in the cache file.
  CShared later;
  later.m_cache.SetClient(CacheRecordType::kImage, &later.m_store);
  ASSERT_TRUE(later.m_cache.Load(m_folder / "cache.dat"));
  CEngine without(later, m_table, "/no decoder");
  EXPECT_TRUE(without.m_comparer.PrepareFile(path, 9, kAll));
  EXPECT_FALSE(without.m_comparer.PrepareFile(path, 9, kAll));

  // A new time makes all of it stale.
  const std::array<timeval, 2> times = {{{1000000000, 0}, {1000000000, 0}}};
  ASSERT_EQ(utimes(path.c_str(), times.data()), 0);
  m_shared.m_store.ResetScanState();
  later.m_store.ResetScanState();
  EXPECT_FALSE(without.m_comparer.PrepareFile(path, 9, kAll));
  ASSERT_TRUE(Prepare(path));
  const ImageEntry third = Find(path);
  EXPECT_EQ(third.info->modified, 1000000000U);
  EXPECT_FALSE(third.content == first.content || third.experimental == second.experimental);
}

// A damaged cache file costs a decode.
TEST_F(ImageFiles, SignaturesOfAnotherLengthAreMadeAnew) {
  const std::string path = PictureFile(test::Photograph(4, 80, 70));
  ASSERT_TRUE(Prepare(path));
  const ImageEntry made = Find(path);
  ImageEntry damaged;
  damaged.info = made.info;
  damaged.content = MakeRef<ImageContent>();
  damaged.experimental = MakeRef<ImageExperimental>();
  m_shared.m_store.ClearEntries();
  ASSERT_EQ(m_shared.m_store.File(path, damaged, 0, false), CImageStore::Filed::kYes);
  m_shared.m_store.ResetScanState();
  ASSERT_TRUE(Prepare(path));
  EXPECT_EQ(Find(path).content->columns, made.content->columns);
  EXPECT_TRUE(Find(path).experimental->IsWhole());
}

// Every worker files its pictures and walks the earlier ones after each, as in a scan.
TEST_F(ImageWalk, EachPairIsSeenOnceByManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kFiles = 40;  // a thread
  const test::Picture picture = test::Photograph(1, 64, 64);
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      CEngine engine(m_shared, m_table, "/no decoder");
      for (int i = 0; i < kFiles; ++i) {
        const std::string path = "/" + std::to_string(t) + "/" + std::to_string(i);
        if (m_shared.m_store.File(path, test::Entry(path, picture), 0, false) !=
                CImageStore::Filed::kYes ||
            !engine.m_comparer.CompareFile(path))
          ++failures;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  std::set<std::set<std::string>> seen;
  for (const Pair& pair : Pairs()) seen.insert({pair.first, pair.second});
  constexpr size_t kAll = kThreads * kFiles;
  EXPECT_EQ(Pairs().size(), kAll * (kAll - 1) / 2);
  EXPECT_EQ(seen.size(), Pairs().size());
}

}  // namespace
}  // namespace quill
