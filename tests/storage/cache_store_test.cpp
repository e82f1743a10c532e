// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/cache_store.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "report_log.h"
#include "short_disk.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using namespace test;

const std::string kMagic = "QuillmarshCache/1.9.0" + std::string(11, '\0');

// Keeps what it is given, and a trace of what it is asked.
class CClient : public CCacheClient {
 public:
  CClient(std::string name, std::string& trace) : m_name(std::move(name)), m_trace(trace) {}
  void LoadRecord(CCacheReader reader) override {
    std::string payload;
    char byte;
    while (reader.GetBytes(&byte, 1)) payload += byte;
    ++m_count;
    m_trace += m_name + ":" + payload + " ";
  }
  void ClearRecords() override {
    m_count = 0;
    m_trace += m_name + " cleared ";
  }
  uint32_t RecordCount() const override { return m_count; }

 private:
  const std::string m_name;
  std::string& m_trace;
  uint32_t m_count = 0;
};

// A store with a client for each type, on one file.
struct Stage {
  std::string trace;
  CClient audio{"audio", trace}, image{"image", trace}, analysis{"analysis", trace};
  CCacheStore store;

  explicit Stage(const std::string& path) {
    store.SetClient(CacheRecordType::kAudio, &audio);
    store.SetClient(CacheRecordType::kImage, &image);
    store.SetClient(CacheRecordType::kAnalysis, &analysis);
    EXPECT_TRUE(store.Load(path));
  }
  bool Add(CacheRecordType type, const std::string& payload) {
    CCacheRecord record(type);
    record.PutBytes(payload.data(), payload.size());
    return store.AddCache(record);
  }
};

class CacheStore : public testing::Test {
 protected:
  std::string Loaded() const { return Stage(m_path).trace; }

  const CTempFolder m_folder;
  const std::string m_path = m_folder / "cache.dat";
};

TEST_F(CacheStore, WritesTheFormatByteForByte) {
  {
    Stage stage(m_path);
    EXPECT_EQ(stage.store.FileSize(), 32u);
    ASSERT_TRUE(stage.Add(CacheRecordType::kImage, "one"));
    ASSERT_TRUE(stage.Add(CacheRecordType::kAudio, std::string(0x102, 'a')));
    ASSERT_TRUE(stage.Add(CacheRecordType::kAnalysis, "\xff"));
    EXPECT_EQ(stage.store.FileSize(), 32u + 7 + 4 + 0x102 + 5);
  }
  EXPECT_EQ(ReadAll(m_path), kMagic + std::string("\3\0\0\2one\2\1\0\1", 11) +
                                 std::string(0x102, 'a') + std::string("\1\0\0\3\xff", 5));
  Stage again(m_path);
  EXPECT_EQ(again.trace, "image:one audio:" + std::string(0x102, 'a') + " analysis:\xff ");
  EXPECT_EQ(again.store.Count(), 3u);
}

TEST_F(CacheStore, CutAtAnyLengthLosesTheTailOnly) {
  const std::string records[] = {std::string("\3\0\0\2one", 7), std::string("\0\0\0\1", 4),
                                 std::string("\5\0\0\3three", 9)};
  const std::string traces[] = {"image:one ", "audio: ", "analysis:three "};
  const std::string whole = kMagic + records[0] + records[1] + records[2];
  for (size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    WriteAll(m_path, whole.substr(0, length));
    std::string expected;
    size_t end = kMagic.size();
    for (size_t i = 0; i < 3 && end + records[i].size() <= length; ++i) {
      expected += traces[i];
      end += records[i].size();
    }
    {
      Stage stage(m_path);
      EXPECT_EQ(stage.trace, expected);
      EXPECT_EQ(stage.store.FileSize(), end);
      EXPECT_TRUE(stage.Add(CacheRecordType::kAudio, "a record longer than any tail"));
    }
    EXPECT_EQ(Loaded(), expected + "audio:a record longer than any tail ");
  }
}

TEST_F(CacheStore, ForeignContentIsThrownAway) {
  std::string older = kMagic, dirty = kMagic;
  older[18] = '8';
  dirty[31] = 'x';
  for (const std::string& head : {older, dirty, std::string("text")}) {
    WriteAll(m_path, head + std::string("\3\0\0\2one", 7));
    EXPECT_EQ(Loaded(), "");
    EXPECT_EQ(ReadAll(m_path), kMagic);
  }
}

TEST_F(CacheStore, AnUnknownTypeEndsTheLoadAndIsOverwritten) {
  const std::string first("\1\0\0\1A", 5);
  for (const int type : {0, 4, 255}) {
    SCOPED_TRACE(type);
    const std::string bad = std::string("\1\0\0", 3) + static_cast<char>(type) + "B";
    WriteAll(m_path, kMagic + first + bad + first);
    {
      Stage stage(m_path);
      EXPECT_EQ(stage.trace, "audio:A ");
      ASSERT_TRUE(stage.Add(CacheRecordType::kImage, "C"));
    }
    // Not cut: what lies behind the new record stays.
    EXPECT_EQ(ReadAll(m_path), kMagic + first + std::string("\1\0\0\2C", 5) + first);
    EXPECT_EQ(Loaded(), "audio:A image:C audio:A ");
  }
}

// The writer keeps 24 bits of the length, the reader takes 16.
TEST_F(CacheStore, AnOversizedRecordReadsShortAndEndsTheLoad) {
  {
    Stage stage(m_path);
    ASSERT_TRUE(stage.Add(CacheRecordType::kAudio, std::string(65535, 'x')));
    ASSERT_TRUE(stage.Add(CacheRecordType::kImage, std::string(65536 + 2, 'y')));
    ASSERT_TRUE(stage.Add(CacheRecordType::kAudio, "lost"));
  }
  const std::string file = ReadAll(m_path);
  EXPECT_EQ(file.substr(32 + 4 + 65535, 4), std::string("\2\0\1\2", 4));
  EXPECT_EQ(file.size(), 32u + 4 + 65535 + 4 + 65538 + 8);
  Stage again(m_path);
  EXPECT_TRUE(again.trace == "audio:" + std::string(65535, 'x') + " image:yy ");
  EXPECT_EQ(again.store.FileSize(), 32u + 4 + 65535 + 4 + 2);
}

TEST_F(CacheStore, RefusesWhatIsNoRecord) {
  CReportLog log;
  Stage stage(m_path);
  CCacheRecord empty(CacheRecordType::kAudio);
  EXPECT_FALSE(stage.store.AddCache(empty));
  CCacheRecord unknown(static_cast<CacheRecordType>(4));
  unknown.PutU8(1);
  EXPECT_FALSE(stage.store.AddCache(unknown));
  EXPECT_EQ(log.Take(), "AddCache:275 AddCache:272 ");
  EXPECT_EQ(stage.store.FileSize(), 32u);

  CCacheRecord reused(CacheRecordType::kAudio);
  reused.PutU8('1');
  ASSERT_TRUE(stage.store.AddCache(reused));
  reused.PutU8('2');
  ASSERT_TRUE(stage.store.AddCache(reused));
  EXPECT_EQ(Loaded(), "audio:1 audio:2 ");
}

TEST_F(CacheStore, AShortWriteIsOverwrittenByTheNextRecord) {
  EXPECT_EQ(InChild([&] {
              CReportLog log;
              Stage stage(m_path);
              if (!stage.Add(CacheRecordType::kAudio, "before")) return 1;
              {
                const CShortDisk disk(50);
                if (stage.Add(CacheRecordType::kAudio, "does not fit")) return 2;
                if (!stage.Add(CacheRecordType::kAudio, "1")) return 3;
              }
              if (log.Take() != "Write:124 AddCache:280 ") return 4;
              return stage.Add(CacheRecordType::kImage, "a longer record") ? 0 : 5;
            }),
            0);
  EXPECT_EQ(Loaded(), "audio:before audio:1 image:a longer record ");
}

TEST_F(CacheStore, ClearEmptiesFileAndClients) {
  WriteAll(m_path, kMagic + std::string("\1\0\0\1A\1\0\0\2B", 10));
  {
    Stage stage(m_path);
    stage.trace.clear();
    stage.store.Clear();
    EXPECT_EQ(stage.trace, "audio cleared image cleared analysis cleared ");
    EXPECT_EQ(stage.store.Count(), 0u);
    EXPECT_EQ(ReadAll(m_path), kMagic);
    ASSERT_TRUE(stage.Add(CacheRecordType::kAudio, "new"));
  }
  EXPECT_EQ(Loaded(), "audio:new ");
}

TEST_F(CacheStore, RecordsOfSeveralThreadsStayWhole) {
  constexpr int kThreads = 4, kEach = 200;
  const auto payload = [](int thread, int i) {
    return std::string(static_cast<size_t>(i), static_cast<char>('a' + thread)) + ";";
  };
  {
    Stage stage(m_path);
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
        for (int i = 0; i < kEach; ++i)
          EXPECT_TRUE(stage.Add(CacheRecordType::kAudio, payload(t, i)));
      });
  }
  Stage again(m_path);
  EXPECT_EQ(again.store.Count(), uint32_t{kThreads * kEach});
  for (int t = 0; t < kThreads; ++t) {
    // Each thread's own records lie in its order.
    size_t at = 0;
    for (int i = 1; i < kEach; ++i)
      ASSERT_NE(at = again.trace.find(":" + payload(t, i), at), std::string::npos) << t << i;
  }
}

TEST(CacheRecord, GivesBackEachFieldAndFailsAtTheEnd) {
  CCacheRecord record(CacheRecordType::kAudio);
  const std::vector<float> floats{1.5f, -0.0f};
  const std::vector<uint8_t> bytes{9, 8, 7};
  record.PutU8(0xAB);
  record.PutU16(0x1234);
  record.PutU32(0x12345678);
  record.PutU64(0x123456789ABCDEF0);
  record.PutF32(-2.0f);
  ASSERT_TRUE(record.PutString("text"));
  ASSERT_TRUE(record.PutFloats(floats));
  ASSERT_TRUE(record.PutByteVector(bytes));
  const std::string whole(record.Bytes().begin() + CCacheRecord::kHead, record.Bytes().end());
  EXPECT_EQ(whole, std::string("\xAB\x34\x12\x78\x56\x34\x12\xF0\xDE\xBC\x9A\x78\x56\x34\x12"
                               "\0\0\0\xC0\4\0text\2\0\0\0\xC0\x3F\0\0\0\x80\3\0\x9\x8\x7",
                               40));
  uint8_t u8 = 0;
  uint16_t u16 = 0;
  uint32_t u32 = 0;
  uint64_t u64 = 0;
  float f32 = 0;
  std::string text;
  std::vector<float> vector;
  std::span<const uint8_t> view;
  const struct {
    size_t end;
    std::function<bool(CCacheReader&)> get;
  } fields[] = {{1, [&](CCacheReader& r) { return r.GetU8(&u8); }},
                {3, [&](CCacheReader& r) { return r.GetU16(&u16); }},
                {7, [&](CCacheReader& r) { return r.GetU32(&u32); }},
                {15, [&](CCacheReader& r) { return r.GetU64(&u64); }},
                {19, [&](CCacheReader& r) { return r.GetF32(&f32); }},
                {25, [&](CCacheReader& r) { return r.GetString(&text); }},
                {35, [&](CCacheReader& r) { return r.GetFloats(&vector); }},
                {40, [&](CCacheReader& r) { return r.GetByteVector(&view); }}};
  for (size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    // A copy of exact size, so that a read past it is seen.
    const std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length));
    CCacheReader reader(cut);
    text = "kept";
    vector = {7.0f};
    for (const auto& field : fields) {
      EXPECT_EQ(field.get(reader), field.end <= length);
      if (field.end > length) break;
    }
    EXPECT_EQ(text, length >= 25 ? "text" : "kept");
    EXPECT_EQ(vector, length >= 35 ? floats : std::vector<float>{7.0f});
    if (length < whole.size()) continue;
    EXPECT_EQ(std::vector<uint8_t>(view.begin(), view.end()), bytes);
    EXPECT_EQ(u8, 0xAB);
    EXPECT_EQ(u16, 0x1234);
    EXPECT_EQ(u32, 0x12345678u);
    EXPECT_EQ(u64, 0x123456789ABCDEF0u);
    EXPECT_EQ(f32, -2.0f);
    EXPECT_FALSE(reader.GetU8(&u8));
  }
}

TEST(CacheRecord, RefusesAboveItsLimit) {
  constexpr size_t kMost = CCacheRecord::kLongest;
  CCacheRecord record(CacheRecordType::kAudio);
  EXPECT_FALSE(record.PutString(std::string(kMost + 1, 'x')));
  EXPECT_FALSE(record.PutFloats(std::vector<float>(kMost + 1)));
  EXPECT_FALSE(record.PutByteVector(std::vector<uint8_t>(kMost + 1)));
  EXPECT_EQ(record.Bytes().size(), CCacheRecord::kHead);
  EXPECT_TRUE(record.PutString(std::string(kMost, 'x')));
  EXPECT_TRUE(record.PutFloats(std::vector<float>(kMost)));
  EXPECT_TRUE(record.PutByteVector(std::vector<uint8_t>(kMost)));
  EXPECT_EQ(record.Bytes().size(), CCacheRecord::kHead + 3 * 2 + 6 * kMost);
}

}  // namespace
}  // namespace quill
