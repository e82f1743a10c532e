#include "storage/cache_store.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "report_log.h"
#include "short_disk.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using test::CReportLog;
using test::CTempFolder;
using test::InChild;
using test::ReadAll;
using test::WriteAll;

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

std::string Loaded(const std::string& path) {
  return Stage(path).trace;
}

TEST(CacheStore, WritesTheFormatByteForByte) {
  CTempFolder folder;
  const std::string path = folder / "cache.dat";
  {
    Stage stage(path);
    EXPECT_EQ(stage.store.FileSize(), 32u);
    ASSERT_TRUE(stage.Add(CacheRecordType::kImage, "one"));
    ASSERT_TRUE(stage.Add(CacheRecordType::kAudio, std::string(0x102, 'a')));
    ASSERT_TRUE(stage.Add(CacheRecordType::kAnalysis, "\xff"));
    EXPECT_EQ(stage.store.FileSize(), 32u + 7 + 4 + 0x102 + 5);
  }
  EXPECT_EQ(ReadAll(path), kMagic + std::string("\3\0\0\2one\2\1\0\1", 11) +
                               std::string(0x102, 'a') + std::string("\1\0\0\3\xff", 5));
  Stage again(path);
  EXPECT_EQ(again.trace, "image:one audio:" + std::string(0x102, 'a') + " analysis:\xff ");
  EXPECT_EQ(again.store.Count(), 3u);
}

TEST(CacheStore, CutAtAnyLengthLosesTheTailOnly) {
  CTempFolder folder;
  const std::string path = folder / "cache.dat";
  const std::string records[] = {std::string("\3\0\0\2one", 7), std::string("\0\0\0\1", 4),
                                 std::string("\5\0\0\3three", 9)};
  const std::string traces[] = {"image:one ", "audio: ", "analysis:three "};
  const std::string whole = kMagic + records[0] + records[1] + records[2];
  for (size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    WriteAll(path, whole.substr(0, length));
    std::string expected;
    size_t end = kMagic.size();
    for (size_t i = 0; i < 3 && end + records[i].size() <= length; ++i) {
      expected += traces[i];
      end += records[i].size();
    }
    {
      Stage stage(path);
      EXPECT_EQ(stage.trace, expected);
      EXPECT_EQ(stage.store.FileSize(), end);
      EXPECT_TRUE(stage.Add(CacheRecordType::kAudio, "a record longer than any tail"));
    }
    EXPECT_EQ(Loaded(path), expected + "audio:a record longer than any tail ");
  }
}

TEST(CacheStore, ForeignContentIsThrownAway) {
  CTempFolder folder;
  const std::string path = folder / "cache.dat";
  std::string older = kMagic, dirty = kMagic;
  older[18] = '8';
  dirty[31] = 'x';
  for (const std::string& head : {older, dirty, std::string("text")}) {
    WriteAll(path, head + std::string("\3\0\0\2one", 7));
    EXPECT_EQ(Loaded(path), "");
    EXPECT_EQ(ReadAll(path), kMagic);
  }
}

TEST(CacheStore, AnUnknownTypeEndsTheLoadAndIsOverwritten) {
  CTempFolder folder;
  const std::string path = folder / "cache.dat";
  const std::string first("\1\0\0\1A", 5);
  for (const int type : {0, 4, 255}) {
    SCOPED_TRACE(type);
    const std::string bad = std::string("\1\0\0", 3) + static_cast<char>(type) + "B";
    WriteAll(path, kMagic + first + bad + first);
    {
      Stage stage(path);
      EXPECT_EQ(stage.trace, "audio:A ");
      ASSERT_TRUE(stage.Add(CacheRecordType::kImage, "C"));
    }
    // Not cut: what lies behind the new record stays.
    EXPECT_EQ(ReadAll(path), kMagic + first + std::string("\1\0\0\2C", 5) + first);
    EXPECT_EQ(Loaded(path), "audio:A image:C audio:A ");
  }
}

// The writer keeps 24 bits of the length, the reader takes 16.
TEST(CacheStore, AnOversizedRecordReadsShortAndEndsTheLoad) {
  CTempFolder folder;
  const std::string path = folder / "cache.dat";
  {
    Stage stage(path);
    ASSERT_TRUE(stage.Add(CacheRecordType::kAudio, std::string(65535, 'x')));
    ASSERT_TRUE(stage.Add(CacheRecordType::kImage, std::string(65536 + 2, 'y')));
    ASSERT_TRUE(stage.Add(CacheRecordType::kAudio, "lost"));
  }
  const std::string file = ReadAll(path);
  EXPECT_EQ(file.substr(32 + 4 + 65535, 4), std::string("\2\0\1\2", 4));
  EXPECT_EQ(file.size(), 32u + 4 + 65535 + 4 + 65538 + 8);
  Stage again(path);
  EXPECT_TRUE(again.trace == "audio:" + std::string(65535, 'x') + " image:yy ");
  EXPECT_EQ(again.store.FileSize(), 32u + 4 + 65535 + 4 + 2);
}

TEST(CacheStore, RefusesWhatIsNoRecord) {
  CTempFolder folder;
  CReportLog log;
  Stage stage(folder / "cache.dat");
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
  EXPECT_EQ(Loaded(folder / "cache.dat"), "audio:1 audio:2 ");
}

TEST(CacheStore, AShortWriteIsOverwrittenByTheNextRecord) {
  CTempFolder folder;
  const std::string path = folder / "cache.dat";
  EXPECT_EQ(InChild([&] {
              CReportLog log;
              Stage stage(path);
              if (!stage.Add(CacheRecordType::kAudio, "before")) return 1;
              CLog::Instance().Line("the log has its room before the limit");
              test::LimitFileSize(50);
              const bool part = stage.Add(CacheRecordType::kAudio, "does not fit");
              const bool fits = stage.Add(CacheRecordType::kAudio, "1");
              test::LiftFileSize();
              if (part || !fits) return 2;
              if (log.Take() != "Write:124 AddCache:280 ") return 3;
              return stage.Add(CacheRecordType::kImage, "a longer record") ? 0 : 4;
            }),
            0);
  EXPECT_EQ(Loaded(path), "audio:before audio:1 image:a longer record ");
}

TEST(CacheStore, ClearEmptiesFileAndClients) {
  CTempFolder folder;
  const std::string path = folder / "cache.dat";
  WriteAll(path, kMagic + std::string("\1\0\0\1A\1\0\0\2B", 10));
  {
    Stage stage(path);
    stage.trace.clear();
    stage.store.Clear();
    EXPECT_EQ(stage.trace, "audio cleared image cleared analysis cleared ");
    EXPECT_EQ(stage.store.Count(), 0u);
    EXPECT_EQ(ReadAll(path), kMagic);
    ASSERT_TRUE(stage.Add(CacheRecordType::kAudio, "new"));
  }
  EXPECT_EQ(Loaded(path), "audio:new ");
}

TEST(CacheStore, RecordsOfSeveralThreadsStayWhole) {
  CTempFolder folder;
  const std::string path = folder / "cache.dat";
  constexpr int kThreads = 4, kEach = 200;
  {
    Stage stage(path);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&stage, t] {
        for (int i = 0; i < kEach; ++i)
          EXPECT_TRUE(
              stage.Add(CacheRecordType::kAudio,
                        std::string(static_cast<size_t>(i), static_cast<char>('a' + t)) + ";"));
      });
    for (std::thread& thread : threads) thread.join();
  }
  Stage again(path);
  EXPECT_EQ(again.store.Count(), uint32_t{kThreads * kEach});
  for (int t = 0; t < kThreads; ++t) {
    // Each thread's own records lie in its order.
    size_t at = 0;
    for (size_t i = 1; i < kEach; ++i) {
      std::string payload(":");
      payload.append(i, static_cast<char>('a' + t)).append(";");
      at = again.trace.find(payload, at);
      ASSERT_NE(at, std::string::npos) << t << " " << i;
    }
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
  const size_t fieldEnds[] = {1, 3, 7, 15, 19, 25, 35, 40};
  for (size_t length = 0; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    // A copy of exact size, so that a read past it is seen.
    const std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length));
    CCacheReader reader(cut);
    uint8_t u8 = 0;
    uint16_t u16 = 0;
    uint32_t u32 = 0;
    uint64_t u64 = 0;
    float f32 = 0;
    std::string text = "kept";
    std::vector<float> vector{7.0f};
    std::span<const uint8_t> view;
    size_t fields = 0;
    while (fields < 8 && fieldEnds[fields] <= length) ++fields;
    EXPECT_EQ(reader.GetU8(&u8), fields > 0);
    if (fields < 1) continue;
    EXPECT_EQ(reader.GetU16(&u16), fields > 1);
    if (fields < 2) continue;
    EXPECT_EQ(reader.GetU32(&u32), fields > 2);
    if (fields < 3) continue;
    EXPECT_EQ(reader.GetU64(&u64), fields > 3);
    if (fields < 4) continue;
    EXPECT_EQ(reader.GetF32(&f32), fields > 4);
    if (fields < 5) continue;
    EXPECT_EQ(reader.GetString(&text), fields > 5);
    EXPECT_EQ(text, fields > 5 ? "text" : "kept");
    if (fields < 6) continue;
    EXPECT_EQ(reader.GetFloats(&vector), fields > 6);
    EXPECT_EQ(vector, fields > 6 ? floats : std::vector<float>{7.0f});
    if (fields < 7) continue;
    EXPECT_EQ(reader.GetByteVector(&view), fields > 7);
    if (fields < 8) continue;
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
