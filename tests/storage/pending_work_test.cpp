// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/pending_work.h"

#include <gtest/gtest.h>

#include <algorithm>
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

constexpr size_t kReserved = CPendingWorkStore::kReserved;
const std::string kMagic = "QuillmarshWorks/1.9.0" + std::string(11, '\0');

std::string Record(int type, std::string_view path, std::string_view flags) {
  std::string bytes(1, static_cast<char>(type));
  bytes += static_cast<char>(path.size() & 255);
  bytes += static_cast<char>(path.size() >> 8);
  return bytes.append(path).append(flags);
}

// A pool whose threads write what they are told.
class CPool : public CPendingWorkPool {
 public:
  std::vector<std::function<void(CSerializer&)>> m_threads;
  void Shutdown(CSerializer* serializer) override {
    std::vector<std::thread> threads;
    for (const auto& body : m_threads) threads.emplace_back([&] { body(*serializer); });
    for (std::thread& thread : threads) thread.join();
  }
};

// An engine, and the trace that it shares with the queue.
class CState : public CPendingWorkState {
 public:
  CState(std::string name, std::vector<std::string>& trace)
      : m_name(std::move(name)), m_trace(trace) {}
  std::function<bool(CSerializer&)> m_write = [](CSerializer&) { return true; };
  bool SerializeState(CSerializer& serializer) override { return m_write(serializer); }
  bool RestoreState(std::string_view path, uint8_t group) override {
    m_trace.push_back(m_name + " " + std::string(path) + " " + std::to_string(group));
    return false;
  }

 private:
  const std::string m_name;
  std::vector<std::string>& m_trace;
};

struct Stage : CPendingWorkQueue {
  CTempFolder folder;
  const std::string path = folder / "pending";
  std::vector<std::string> trace;
  CPool pool;
  CState audio{"audio", trace}, image{"image", trace};

  void Requeue(uint32_t kind, std::string file, uint8_t first, uint8_t second) override {
    trace.push_back("kind " + std::to_string(kind) + " " + file + " " + std::to_string(first) +
                    " " + std::to_string(second));
  }
  bool Write() {
    CPendingWorkStore store;
    EXPECT_TRUE(store.Open(path));
    return CSerializer(store, pool, &audio, &image).InnerProcess();
  }
  std::vector<std::string> Read() {
    CPendingWorkStore store;
    EXPECT_TRUE(store.Open(path));
    trace.clear();
    EXPECT_TRUE(CSerializerReader(store, *this, &audio, &image).InnerProcess());
    return trace;
  }
};

struct Sample {
  std::string bytes, trace;
};

const Sample kSamples[] = {
    {Record(1, "/d", "\x03\x01"), "kind 0 /d 3 1"},
    {Record(2, "/an", "\x01"), "kind 2 /an 1 0"},
    {Record(3, "/d/f", "\x04"), "kind 1 /d/f 4 0"},
    {Record(4, "/an/f", ""), "kind 3 /an/f 0 0"},
    {Record(5, "/m.mp3", "\x02"), "audio /m.mp3 2"},
    {Record(6, "/p.png", "\x01"), "image /p.png 1"},
};

// Marks act while the stream is read, requests after its end.
std::vector<std::string> Expected(size_t count) {
  std::vector<std::string> traces;
  for (const char first : {'a', 'i', 'k'})
    for (size_t i = 0; i < count; ++i)
      if (kSamples[i].trace[0] == first) traces.push_back(kSamples[i].trace);
  return traces;
}

TEST(PendingWork, WritesTheFormatByteForByteAndResumesIt) {
  Stage stage;
  // A pool with one thread, so that the order is known.
  stage.pool.m_threads = {[](CSerializer& s) {
    EXPECT_TRUE(s.WriteFolder("/d", 3, 1));
    EXPECT_TRUE(s.WriteAnalysisFolder("/an", 1));
    EXPECT_TRUE(s.WriteFile("/d/f", 4));
    EXPECT_TRUE(s.WriteAnalysisFile("/an/f"));
  }};
  stage.audio.m_write = [](CSerializer& s) { return s.WriteAudioState("/m.mp3", 2); };
  stage.image.m_write = [](CSerializer& s) { return s.WriteImageState("/p.png", 1); };
  EXPECT_EQ(stage.Read(), Expected(0));
  EXPECT_EQ(ReadAll(stage.path), std::string(kReserved, '\0'));
  ASSERT_TRUE(stage.Write());
  std::string expected = std::string(kReserved, '\0') + kMagic;
  for (const Sample& sample : kSamples) expected += sample.bytes;
  EXPECT_EQ(ReadAll(stage.path), expected);
  EXPECT_EQ(stage.Read(), Expected(6));
  // Reading clears nothing.
  EXPECT_EQ(stage.Read(), Expected(6));
  EXPECT_EQ(ReadAll(stage.path), expected);
}

TEST(PendingWork, LeavesTheReservedBytesAlone) {
  Stage stage;
  std::string reserved(kReserved, '\0');
  for (size_t i = 0; i < kReserved; ++i) reserved[i] = static_cast<char>(i * 7);
  WriteAll(stage.path, reserved + std::string(100000, 'x'));
  EXPECT_EQ(stage.Read(), Expected(0));
  ASSERT_TRUE(stage.Write());
  EXPECT_EQ(ReadAll(stage.path), reserved + kMagic);
}

TEST(PendingWork, CutAtAnyLengthResumesTheWholeRecords) {
  Stage stage;
  std::string stream = kMagic;
  for (const Sample& sample : kSamples) stream += sample.bytes;
  for (size_t length = 0; length <= stream.size(); ++length) {
    SCOPED_TRACE(length);
    WriteAll(stage.path, std::string(kReserved, 'r') + stream.substr(0, length));
    size_t count = 0, end = kMagic.size();
    while (count < 6 && end + kSamples[count].bytes.size() <= length)
      end += kSamples[count++].bytes.size();
    ASSERT_EQ(stage.Read(), Expected(count));
    // A crash leaves the window's zero bytes behind, which are no record.
    WriteAll(stage.path,
             std::string(kReserved, 'r') + stream.substr(0, end) + std::string(70000, '\0'));
    ASSERT_EQ(stage.Read(), Expected(length < kMagic.size() ? 0 : count));
  }
}

TEST(PendingWork, ForeignContentResumesNothing) {
  Stage stage;
  const std::string record = kSamples[0].bytes;
  std::string older = kMagic;
  older[18] = '8';
  CReportLog log;
  for (const std::string& stream : {older + record, kMagic.substr(0, 30), kMagic + '\7' + record}) {
    WriteAll(stage.path, std::string(kReserved, '\0') + stream);
    EXPECT_EQ(stage.Read(), Expected(0));
  }
  EXPECT_EQ(log.Take(), "");
}

TEST(PendingWork, ManyThreadsFillManyBuffersWithWholeRecords) {
  Stage stage;
  constexpr int kThreads = 4, kEach = 3000;
  const auto name = [](int thread, int i) {
    return "/" + std::to_string(thread) + "/" + std::string(static_cast<size_t>(i % 90), 'x') +
           std::to_string(i);
  };
  std::vector<std::string> expected;
  for (int t = 0; t < kThreads; ++t) {
    stage.pool.m_threads.push_back([t, name](CSerializer& s) {
      for (int i = 0; i < kEach; ++i) EXPECT_TRUE(s.WriteFile(name(t, i), 9));
    });
    for (int i = 0; i < kEach; ++i) expected.push_back("kind 1 " + name(t, i) + " 9 0");
  }
  ASSERT_TRUE(stage.Write());
  std::vector<std::string> trace = stage.Read();
  // Threads mix, but each one's records lie in its order.
  std::stable_sort(trace.begin(), trace.end(), [](const std::string& a, const std::string& b) {
    return a.compare(0, 9, b, 0, 9) < 0;
  });
  EXPECT_TRUE(trace == expected);

  // A shorter stream leaves nothing of a longer one behind it.
  stage.pool.m_threads.clear();
  ASSERT_TRUE(stage.Write());
  EXPECT_EQ(ReadAll(stage.path).size(), kReserved + kMagic.size());
}

TEST(PendingWork, AnEmptyStringIsOneAndOneThatDoesNotFitIsLeftOut) {
  Stage stage;
  const std::string longest(65535, 'l');
  stage.pool.m_threads = {[&](CSerializer& s) {
    s.WriteFile("", 2);
    s.WriteAnalysisFile(longest);
    s.WriteFile(longest + "l", 1);
  }};
  ASSERT_TRUE(stage.Write());
  EXPECT_TRUE(ReadAll(stage.path) == std::string(kReserved, '\0') + kMagic + Record(3, "", "\x02") +
                                         Record(4, longest, "") + "\x03\x01");
  EXPECT_TRUE(stage.Read() ==
              (std::vector<std::string>{"kind 1  2 0", "kind 3 " + longest + " 0 0"}));
}

TEST(PendingWork, AFailingEngineIsReported) {
  Stage stage;
  CReportLog log;
  for (CState* engine : {&stage.image, &stage.audio}) {
    engine->m_write = [](CSerializer&) { return false; };
    EXPECT_FALSE(stage.Write());
  }
  EXPECT_EQ(log.Take(), "InnerProcess:77 InnerProcess:76 ");
}

TEST(PendingWork, AFullDiskEndsTheStreamAtARecord) {
  Stage stage;
  constexpr int kCount = 40;
  stage.pool.m_threads = {[](CSerializer& s) {
    for (int i = 0; i < kCount; ++i) s.WriteAnalysisFile(std::string(10000, 'x'));
  }};
  EXPECT_EQ(InChild([&] {
              CReportLog log;
              {
                const CShortDisk disk(150000);
                if (stage.Write()) return 1;
              }
              return log.Take() == "Map:164 Write:85 Flush:57 " ? 0 : 2;
            }),
            0);
  // One buffer of 64 KiB fits, and six whole records in it.
  EXPECT_EQ(stage.Read().size(), 6u);
}

TEST(PendingWork, TheStoreKnowsItsEnd) {
  Stage stage;
  CReportLog log;
  CPendingWorkStore store;
  EXPECT_FALSE(store.Open(stage.folder / "none/f"));
  ASSERT_TRUE(store.Open(stage.path));
  const uint8_t bytes[] = {1, 2, 3, 4};
  uint8_t back[8];
  uint32_t got = 9;
  EXPECT_TRUE(store.Write(6, bytes, 4));
  EXPECT_TRUE(store.Read(8, back, 8, &got));
  EXPECT_EQ(got, 2u);
  EXPECT_EQ(back[1], 4);
  for (const uint32_t offset : {10u, 70000u, UINT32_MAX}) {
    EXPECT_TRUE(store.Read(offset, back, 8, &got));
    EXPECT_EQ(got, 0u);
  }
  EXPECT_TRUE(store.Read(6, back, 4));
  EXPECT_EQ(log.Take(), "Open:102 ");
  EXPECT_FALSE(store.Read(7, back, 4));
  EXPECT_FALSE(store.Read(0, nullptr, 4));
  EXPECT_FALSE(store.Write(0, nullptr, 4));
  EXPECT_FALSE(store.Write(UINT32_MAX, bytes, 4));
  EXPECT_FALSE(store.Write(UINT32_MAX - kReserved, bytes, 4));
  EXPECT_EQ(log.Take(), "Read:63 Read:57 Write:80 Write:85 Map:164 Write:85 ");
  EXPECT_TRUE(store.SetEnd(7));
  EXPECT_FALSE(store.Read(6, back, 2));
}

}  // namespace
}  // namespace quill
