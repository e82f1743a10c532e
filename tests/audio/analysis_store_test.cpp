// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/analysis_store.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "support/temp_folder.h"

namespace quill {
namespace {

CRef<AnalysisInfo> Info(const std::string& path, float clicks = 25) {
  auto info = MakeRef<AnalysisInfo>();
  info->path = path;
  info->artist = "R";
  info->album = "";
  info->title = "T2";
  info->size = 0x0102030405060708;
  info->modified = 9;
  info->durationMs = 0x10;
  info->bitrate = 0x11;
  info->sampleRate = 0x12;
  info->dataFormat = 2;
  info->channels = 1;
  info->format = 11;
  info->clipping = 1;
  info->silence = 2;
  info->absMean = 0.5F;
  info->minStep = 0.25F;
  info->absMax = 1;
  info->maxFreq = 16000;
  info->clicks = clicks;
  info->averageSpectrum.fill(0xAA);
  info->peakSpectrum.fill(0xBB);
  return info;
}

// A store, and what stands in the cache file behind what it files.
class AnalysisStore : public testing::Test {
 protected:
  AnalysisStore() {
    m_cache.SetClient(CacheRecordType::kAnalysis, &m_store);
    EXPECT_TRUE(m_cache.Load(m_folder / "cache.dat"));
  }
  std::vector<uint8_t> Payload(size_t record = 0) {
    const std::string file = test::ReadAll(m_folder / "cache.dat");
    size_t at = 32;
    for (; record > 0; --record) at += 4 + Length(file, at);
    return {file.begin() + ptrdiff_t(at + 4), file.begin() + ptrdiff_t(at + 4 + Length(file, at))};
  }
  static size_t Length(const std::string& file, size_t at) {
    return uint8_t(file[at]) | size_t{uint8_t(file[at + 1])} << 8;
  }

  test::CTempFolder m_folder;
  CCacheStore m_cache;
  CAnalysisStore m_store{m_cache};
};

TEST_F(AnalysisStore, LaterRecordReplacesTheEarlierOneAlsoAtTheNextStart) {
  const CRef<const AnalysisInfo> second = Info("/x", 3);
  EXPECT_TRUE(m_store.File(Info("/x", 2)));
  EXPECT_TRUE(m_store.File(Info("/other")));
  EXPECT_TRUE(m_store.File(second));
  EXPECT_EQ(m_store.Find("/x"), second);
  EXPECT_EQ(m_store.RecordCount(), 2U);

  CCacheStore cache;
  CAnalysisStore loaded(cache);
  cache.SetClient(CacheRecordType::kAnalysis, &loaded);
  ASSERT_TRUE(cache.Load(m_folder / "cache.dat"));
  EXPECT_EQ(loaded.RecordCount(), 2U);
  const CRef<const AnalysisInfo> read = loaded.Find("/x");
  ASSERT_TRUE(read);
  EXPECT_EQ(read->modified, 9U);
  EXPECT_EQ(loaded.GetCache(*second), read);  // every other field is as it was
  cache.Clear();
  EXPECT_FALSE(loaded.Find("/x"));
}

// The fixed layout, byte by byte: a file of an earlier run must stay readable.
TEST_F(AnalysisStore, RecordLayout) {
  ASSERT_TRUE(m_store.File(Info("/p")));
  const std::vector<uint8_t> head = {
      2,    0, '/',  'p',  8,    7, 6,    5,    4,    3, 2,    1,  // path, size
      9,    0, 0,    0,    1,    0, 'R',  0,    0,    2, 0,    'T',
      '2',                                                            // time, artist, album, title
      0x10, 0, 0,    0,    0x11, 0, 0,    0,    0x12, 0, 0,    0,     // length, bitrate, rate
      2,    1, 11,   0,    0,    0, 0x80, 0x3F, 0,    0, 0,    0x40,  // format; clipping, silence
      0,    0, 0,    0x3F, 0,    0, 0x80, 0x3E, 0,    0, 0x80, 0x3F,  // offset, step, peak
      0,    0, 0x7A, 0x46, 0,    0, 0xC8, 0x41};                      // highest frequency, clicks
  std::vector<uint8_t> expected = head;
  expected.insert(expected.end(), 32, 0xAA);
  expected.insert(expected.end(), 32, 0xBB);
  EXPECT_EQ(Payload(), expected);
}

TEST_F(AnalysisStore, DamagedRecordAddsNothing) {
  ASSERT_TRUE(m_store.File(Info("/x")));
  auto odd = Info("/odd");
  odd->absMean = std::numeric_limits<float>::quiet_NaN();
  ASSERT_TRUE(m_store.File(odd));
  const std::vector<uint8_t> payload = Payload();
  const std::vector<uint8_t> noNumber = Payload(1);
  m_store.ClearRecords();
  for (size_t length = 0; length < payload.size(); ++length) {
    const std::vector<uint8_t> cut(payload.begin(), payload.begin() + ptrdiff_t(length));
    m_store.LoadRecord(CCacheReader(cut));
    ASSERT_EQ(m_store.RecordCount(), 0U) << length;
  }
  m_store.LoadRecord(CCacheReader(noNumber));
  EXPECT_EQ(m_store.RecordCount(), 0U);
  m_store.LoadRecord(CCacheReader(payload));
  EXPECT_EQ(m_store.RecordCount(), 1U);
}

TEST_F(AnalysisStore, TextTooLongForTheFileIsKeptInMemoryOnly) {
  auto info = Info("/x");
  info->album = std::string(40000, 'a');
  EXPECT_TRUE(m_store.File(info));
  EXPECT_TRUE(m_store.Find("/x"));
  EXPECT_EQ(test::ReadAll(m_folder / "cache.dat").size(), 32U);
}

TEST_F(AnalysisStore, GetCacheGivesTheStoredRecordOnlyIfAllIsEqual) {
  const CRef<const AnalysisInfo> stored = Info("/x");
  ASSERT_TRUE(m_store.File(stored));
  const auto same = Info("/x");
  same->modified = 77;
  EXPECT_EQ(m_store.GetCache(*same), stored);

  const auto expectOther = [&](auto change) {
    const auto wanted = Info("/x");
    change(*wanted);
    const CRef<const AnalysisInfo> made = m_store.GetCache(*wanted);
    ASSERT_TRUE(made);
    EXPECT_NE(made.Get(), stored.Get());
    EXPECT_EQ(made->modified, 0U);
    EXPECT_EQ(made->title, wanted->title);
    EXPECT_EQ(made->peakSpectrum, wanted->peakSpectrum);
  };
  using I = AnalysisInfo;
  for (const auto text : {&I::path, &I::artist, &I::album, &I::title})
    expectOther([&](I& info) { info.*text += "!"; });
  for (const auto number : {&I::durationMs, &I::bitrate, &I::sampleRate})
    expectOther([&](I& info) { ++(info.*number); });
  for (const auto measure :
       {&I::clipping, &I::silence, &I::absMean, &I::minStep, &I::absMax, &I::maxFreq, &I::clicks})
    expectOther([&](I& info) { info.*measure *= 1.00001F; });
  expectOther([](I& info) { ++info.size; });
  expectOther([](I& info) { ++info.dataFormat; });
  expectOther([](I& info) { ++info.channels; });
  expectOther([](I& info) { ++info.format; });
  expectOther([](I& info) { ++info.averageSpectrum[31]; });
  expectOther([](I& info) { ++info.peakSpectrum[0]; });
  EXPECT_EQ(m_store.RecordCount(), 1U);
  EXPECT_EQ(m_store.Find("/x"), stored);
}

}  // namespace
}  // namespace quill
