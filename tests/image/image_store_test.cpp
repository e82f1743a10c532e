// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "image/image_format_text.h"
#include "image/image_record.h"
#include "image/image_scores.h"
#include "image/test_picture.h"
#include "storage/stop_and_resume.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

std::vector<uint8_t> Payload(const std::string& path, const ImageEntry& parts) {
  CCacheRecord record(CacheRecordType::kImage);
  EXPECT_TRUE(WriteImageRecord(path, parts, &record));
  return {record.Bytes().begin() + CCacheRecord::kHead, record.Bytes().end()};
}

class ImageStore : public testing::Test {
 protected:
  ImageStore() {
    m_cache.SetClient(CacheRecordType::kImage, &m_store);
    EXPECT_TRUE(m_cache.Load(m_folder / "cache.dat"));
  }
  void Load(const std::string& path, const ImageEntry& parts) {
    m_store.LoadRecord(CCacheReader(Payload(path, parts)));
  }
  ImageEntry Find(const std::string& path) {
    ImageEntry entry;
    EXPECT_TRUE(m_store.FindEntry(path, &entry)) << path;
    return entry;
  }

  test::CTempFolder m_folder;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CImageStore m_store{m_cache, m_counters};
  const ImageEntry m_full = test::Entry("/x", test::Photograph(1));
};

// The fixed layout of a record, byte by byte: a file of an earlier run must stay readable.
TEST_F(ImageStore, RecordLayout) {
  ImageEntry parts;
  auto info = MakeRef<ImageInfo>();
  info->size = 8;
  info->modified = 7;
  info->width = 0x01020304;
  info->height = 6;
  info->format = 5;
  info->bits = 24;
  parts.info = info;
  auto content = MakeRef<ImageContent>();
  content->rows = {1};
  content->columns = {-2, 0};
  parts.content = content;
  auto experimental = MakeRef<ImageExperimental>();
  experimental->quadrant1.Assign(std::vector<uint8_t>{9, 8});
  experimental->quadrant2.Assign(std::vector<uint8_t>{7});
  parts.experimental = experimental;
  EXPECT_EQ(Payload("/p", parts),
            (std::vector<uint8_t>{2, 0, '/', 'p', 7,    8, 0, 0, 0, 0,  0, 0, 0, 7, 0,    0,    0,
                                  4, 3, 2,   1,   6,    0, 0, 0, 5, 24, 1, 0, 0, 0, 0x80, 0x3f, 2,
                                  0, 0, 0,   0,   0xc0, 0, 0, 0, 0, 2,  0, 9, 8, 1, 0,    7}));
}

TEST_F(ImageStore, PartsOfTwoRecordsComeBackWhole) {
  ImageEntry first = m_full;
  first.experimental = {};
  ImageEntry second;
  second.experimental = m_full.experimental;
  ASSERT_EQ(m_store.File("/x", first, 1, true), CImageStore::Filed::kYes);
  m_store.ResetScanState();
  ASSERT_EQ(m_store.File("/x", second, 1, true), CImageStore::Filed::kYes);

  CCacheStore cache;
  CImageStore loaded(cache, m_counters);
  cache.SetClient(CacheRecordType::kImage, &loaded);
  ASSERT_TRUE(cache.Load(m_folder / "cache.dat"));
  ImageEntry entry;
  ASSERT_TRUE(loaded.FindEntry("/x", &entry));
  EXPECT_EQ(entry.ordinal, 0U);
  EXPECT_EQ(entry.group, 0U);
  EXPECT_EQ(entry.info->path, "/x");
  EXPECT_EQ(entry.info->width, 640U);
  EXPECT_EQ(entry.info->size, 5000000000U);
  ASSERT_TRUE(entry.content && entry.experimental);
  EXPECT_EQ(entry.content->rows, m_full.content->rows);
  EXPECT_EQ(entry.content->columns, m_full.content->columns);
  EXPECT_EQ(entry.experimental->quadrant1.Values(), m_full.experimental->quadrant1.Values());
  EXPECT_EQ(entry.experimental->quadrant2.Deviation(), m_full.experimental->quadrant2.Deviation());
}

TEST_F(ImageStore, RecordCutAnywhereChangesNothing) {
  ImageEntry known;
  known.info = test::Info("/x");
  Load("/x", known);
  const std::vector<uint8_t> payload = Payload("/x", m_full);
  for (size_t length = 0; length < payload.size(); ++length) {
    m_store.LoadRecord(CCacheReader(std::span(payload).first(length)));
    const ImageEntry entry = Find("/x");
    ASSERT_FALSE(entry.content || entry.experimental) << length;
  }
  Load("/x", m_full);
  EXPECT_TRUE(Find("/x").experimental);
  EXPECT_EQ(m_store.EntryCount(), 1U);
}

TEST_F(ImageStore, RefusedAndStrangeRecords) {
  ImageEntry signatures = m_full;
  signatures.info = {};
  Load("/unknown", signatures);
  EXPECT_EQ(m_store.EntryCount(), 0U);

  // Counts are taken as they stand.
  auto content = MakeRef<ImageContent>();
  content->rows = {1, 2, 3};
  ImageEntry strange;
  strange.info = test::Info("/x");
  strange.content = content;
  Load("/x", strange);
  EXPECT_EQ(Find("/x").content->rows, content->rows);
  EXPECT_FALSE(Find("/x").content->IsWhole());

  CCacheRecord record(CacheRecordType::kImage);
  EXPECT_FALSE(WriteImageRecord("/x", ImageEntry(), &record));
  EXPECT_FALSE(WriteImageRecord(std::string(32768, 'p'), m_full, &record));
  const std::string longest(32767, 'p');
  Load(longest, m_full);
  EXPECT_TRUE(Find(longest).content);
  content->columns.resize(32768);
  EXPECT_FALSE(WriteImageRecord("/x", strange, &record));
}

// Whatever a damaged file holds, what is kept of it can be compared without leaving its bounds.
TEST_F(ImageStore, FlippedBitsDoNoHarm) {
  std::mt19937 random(5);
  const std::vector<uint8_t> payload = Payload("/x", m_full);
  ContentTarget content;
  MakeContentTarget(*m_full.content, &content);
  const auto experimental = std::make_unique<ExperimentalTarget>();
  ASSERT_TRUE(DecompressTranspose(*m_full.experimental, experimental.get()));
  uint32_t kept = 0;
  for (int round = 0; round < 4000; ++round) {
    std::vector<uint8_t> damaged = payload;
    // Half of the damage into the mask and the counts.
    const std::array<size_t, 9> spots = {4, 27, 28, 285, 286, 543, 544, 1634, 1635};
    const size_t at = round % 2 ? spots[random() % spots.size()] : random() % damaged.size();
    damaged[at] ^= uint8_t(1U << random() % 8);
    m_store.ClearEntries();
    m_store.LoadRecord(CCacheReader(damaged));
    ImageEntry entry;
    if (!m_store.FindEntry("/x", &entry)) continue;
    ++kept;
    if (entry.content) {
      const float score = CmpCorMethod(content, *entry.content);
      ASSERT_TRUE(score == -1 || (score >= 0 && score <= 1)) << score;
      ContentTarget target;
      MakeContentTarget(*entry.content, &target);
      (void)CmpCorMethod(target, *entry.content);
    }
    if (entry.experimental) {
      const float score = CmpFreqMethod(*experimental, *entry.experimental);
      ASSERT_TRUE(score == -1 || (score >= 0 && score <= 1)) << score;
    }
  }
  EXPECT_GT(kept, 1000U);
}

// The marks of pictures are their own: those of sounds must not take their place.
TEST_F(ImageStore, ScanStateSurvivesTheProgram) {
  for (const char* path : {"/a", "/b", "/c"}) Load(path, m_full);
  for (const auto& [path, group] : {std::pair{"/c", 200}, {"/a", 0}})
    ASSERT_EQ(m_store.File(path, ImageEntry(), uint8_t(group), false), CImageStore::Filed::kYes);
  test::StopAndResume(m_folder / "pending", nullptr, &m_store, [&] { m_store.ResetScanState(); });
  ImageEntry entry;
  ASSERT_TRUE(m_store.NextEntry(0, &entry));
  EXPECT_EQ(entry.ordinal, Find("/c").ordinal);
  EXPECT_EQ(entry.group, 200U);
  ASSERT_TRUE(m_store.NextEntry(entry.ordinal, &entry));
  EXPECT_EQ(entry.ordinal, Find("/a").ordinal);
  EXPECT_FALSE(m_store.NextEntry(entry.ordinal, &entry));
  EXPECT_EQ(m_counters.processed, 2);
}

TEST(ImageTypeText, LeavesOutWhatHasNoName) {
  EXPECT_EQ(ImageTypeText(4, 24), "24bit JPEG");
  EXPECT_EQ(ImageTypeText(9, 1), "1bit ICO");
  EXPECT_EQ(ImageTypeText(5, 12), "PNG");
  EXPECT_EQ(ImageTypeText(0, 8), "8bit ");
  EXPECT_EQ(ImageTypeText(10, 64), "64bit ");
  EXPECT_EQ(ImageTypeText(255, 0), "-");
}

TEST_F(ImageStore, RecordOfAChangedFileDropsTheOlderParts) {
  Load("/x", m_full);
  auto info = MakeRef<ImageInfo>();
  info->path = "/x";
  info->size = 1;
  ImageEntry changed;
  changed.info = info;
  changed.content = test::Entry("/x", test::Photograph(2)).content;
  Load("/x", changed);
  const ImageEntry entry = Find("/x");
  EXPECT_EQ(entry.info->size, 1U);
  EXPECT_EQ(entry.content->rows, changed.content->rows);
  EXPECT_FALSE(entry.experimental);
}

}  // namespace
}  // namespace quill
