// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/results_journal.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "report_log.h"
#include "short_disk.h"
#include "support/temp_folder.h"

namespace quill {

// 4 GiB of records would take minutes.
struct CResultsJournalProbe {
  static void SetPosition(CResultsJournal& journal, uint32_t position) {
    journal.m_position = position;
  }
};

namespace {

using namespace test;

// The format, written down a second time.
template <class Number>
  requires std::is_arithmetic_v<Number>
std::string Field(Number number) {
  return {reinterpret_cast<const char*>(&number), sizeof number};
}
std::string Field(std::string_view text) {
  return Field(static_cast<uint16_t>(text.size())).append(text);
}
template <class... Fields>
std::string Record(int type, const Fields&... fields) {
  return (std::string(1, static_cast<char>(type)) + ... + Field(fields));
}

std::string Magic(char minor = '9') {
  return std::string("QuillmarshResults/1.") + minor + std::string(".0\0\0\0\0\0\0\0\0\0", 11);
}

const std::string kEndMarker(1, '\0');

// All tables in one: each call is a line of the trace.
class CTables : public CAudioResultsTable, public CImageResultsTable, public CAnalysisResultsTable {
 public:
  std::vector<std::string> m_trace;
  // The next table to be asked for its results, and the one that refuses.
  int m_asked = 0, m_refusing = -1;
  std::function<void(CResultsJournal&)> m_contents[3];

  void RebuildRows() override { m_trace.push_back("rows"); }
  bool WriteResults(CResultsJournal& journal) override {
    const int table = m_asked++;
    if (m_contents[table]) m_contents[table](journal);
    return table != m_refusing;
  }
  bool BulkAdd(const AudioItemRecord& r) override {
    return Note("audio", r.path, r.artist, r.title, r.album, r.size, r.durationMs, r.bitrate,
                r.format, r.group);
  }
  bool BulkAdd(std::string_view a, std::string_view b, float tags, float content,
               float precise) override {
    return Note("audio pair", a, b, tags, content, precise);
  }
  bool BulkAdd(const ImageItemRecord& r) override {
    return Note("image", r.path, r.size, r.width, r.height, r.format, r.bits, r.group);
  }
  bool BulkAdd(std::string_view a, std::string_view b, float content, float second) override {
    return Note("image pair", a, b, content, second);
  }
  bool BulkAdd(const AnalysisItemRecord& r) override {
    std::string rest;
    for (const float measure : r.measures) rest += std::to_string(measure) + ",";
    for (const uint8_t byte : r.averageSpectrum) rest += std::to_string(byte) + ",";
    for (const uint8_t byte : r.peakSpectrum) rest += std::to_string(byte) + ",";
    return Note("analysis", r.path, r.artist, r.album, r.title, r.size, r.durationMs, r.bitrate,
                r.sampleRate, r.dataFormat, r.channels, r.format, rest);
  }
  // The three forms of removal and change differ by their arguments only for analysis items.
  bool BulkRemove(std::string_view a, std::string_view b) override { return Note("gone", a, b); }
  bool BulkRemove(std::string_view path) override { return Note("gone", path); }
  bool BulkChange(std::string_view from, std::string_view to, std::string_view artist,
                  std::string_view album, std::string_view title) override {
    return Note("changed", from, to, artist, album, title);
  }
  bool BulkChange(std::string_view from, std::string_view to) override {
    return Note("changed", from, to);
  }

 private:
  static std::string Text(std::string_view text) { return std::string(text); }
  template <class Number>
    requires std::is_arithmetic_v<Number>
  static std::string Text(Number number) {
    return std::to_string(number);
  }
  template <class... Field>
  bool Note(std::string line, const Field&... fields) {
    ((line += " ", line += Text(fields)), ...);
    m_trace.push_back(line);
    return false;  // does not stop a load
  }
};

// Which table a record goes to is told apart by nulling the others.
enum Tables { kNone = 0, kAudio = 1, kImage = 2, kAnalysis = 4, kAll = 7 };

CResultsJournal Journal(CTables& tables, int which = kAll) {
  return CResultsJournal(which & kAudio ? &tables : nullptr, which & kImage ? &tables : nullptr,
                         which & kAnalysis ? &tables : nullptr);
}

AnalysisItemRecord Analysis() {
  AnalysisItemRecord item{"/n", "ar", "al", "ti", 1ull << 40, 3000, 128000, 44100, 2, 1, 7};
  item.measures = {1, 2, 0.5f, 0.25f, 1, 16000, 3};
  for (size_t i = 0; i < 32; ++i) {
    item.averageSpectrum[i] = static_cast<uint8_t>(i);
    item.peakSpectrum[i] = static_cast<uint8_t>(200 + i);
  }
  return item;
}

std::string AnalysisNumbers() {
  const AnalysisItemRecord item = Analysis();
  std::string bytes = Field(item.size) + Field(item.durationMs) + Field(item.bitrate) +
                      Field(item.sampleRate) + Field(item.dataFormat) + Field(item.channels) +
                      Field(item.format);
  for (const float measure : item.measures) bytes += Field(measure);
  bytes.append(item.averageSpectrum.begin(), item.averageSpectrum.end());
  return bytes.append(item.peakSpectrum.begin(), item.peakSpectrum.end());
}

// One record: how it is appended, what it looks like on the disk, what a load tells, and to whom.
struct Sample {
  std::function<void(CResultsJournal&)> append;
  std::string bytes;
  std::string trace;
  Tables table;
};

std::vector<Sample> Samples() {
  using J = CResultsJournal;
  std::string numbers;
  for (const float measure : Analysis().measures) numbers += std::to_string(measure) + ",";
  for (int i = 0; i < 32; ++i) numbers += std::to_string(i) + ",";
  for (int i = 0; i < 32; ++i) numbers += std::to_string(200 + i) + ",";
  return {
      {[](J& j) { j.AddAudioItem({{"/a", "ar", "al", "ti", 180000, 320000, 513, 1ull << 33}, 4}); },
       Record(1, "/a", "ar", "ti", "al", uint64_t{1} << 33, 180000, 320000, uint16_t{513},
              uint8_t{4}),
       "audio /a ar ti al 8589934592 180000 320000 513 4", kAudio},
      {[](J& j) { j.AddAudioPair("/a", "", 0.5f, -1.0f, 0.25f); },
       Record(2, "/a", "", 0.5f, -1.0f, 0.25f), "audio pair /a  0.500000 -1.000000 0.250000",
       kAudio},
      {[](J& j) { j.AddImageItem({{"/i", 640, 480, 2, 24, 5}, 3}); },
       Record(3, "/i", uint64_t{5}, 640, 480, uint8_t{2}, uint8_t{24}, uint8_t{3}),
       "image /i 5 640 480 2 24 3", kImage},
      {[](J& j) { j.AddImagePair("/i", "/k", 0.75f, 0.5f); }, Record(12, "/i", "/k", 0.75f, 0.5f),
       "image pair /i /k 0.750000 0.500000", kImage},
      {[](J& j) { j.AddAnalysisItem(Analysis()); },
       Record(13, "/n", "ar", "al", "ti") + AnalysisNumbers(),
       "analysis /n ar al ti 1099511627776 3000 128000 44100 2 1 7 " + numbers, kAnalysis},
      {[](J& j) { j.RemoveAudioPair("/a", "/b"); }, Record('e', "/a", "/b"), "gone /a /b", kAudio},
      {[](J& j) { j.RemoveImagePair("/i", "/k"); }, Record('f', "/i", "/k"), "gone /i /k", kImage},
      {[](J& j) { j.RemoveAnalysisItem("/n"); }, Record('g', "/n"), "gone /n", kAnalysis},
      {[](J& j) { j.ChangeAudioItem("/a", "/b", "ar", "al", "ti"); },
       Record('o', "/a", "/b", "ar", "al", "ti"), "changed /a /b ar al ti", kAudio},
      {[](J& j) { j.ChangeImageItem("/i", "/k"); }, Record('p', "/i", "/k"), "changed /i /k",
       kImage},
      {[](J& j) { j.ChangeAnalysisItem("/n", "/m", "ar", "al", "ti"); },
       Record('q', "/n", "/m", "ar", "al", "ti"), "changed /n /m ar al ti", kAnalysis},
  };
}

std::vector<std::string> Load(const std::string& path, int which = kAll) {
  CTables tables;
  CResultsJournal journal = Journal(tables, which);
  EXPECT_TRUE(journal.OpenForReading(path));
  EXPECT_TRUE(journal.Load());
  // The rows of each table are rebuilt behind the last record.
  for (int table = kAudio; table <= kAnalysis; table *= 2) {
    if (!(which & table)) continue;
    EXPECT_FALSE(tables.m_trace.empty() || tables.m_trace.back() != "rows");
    tables.m_trace.pop_back();
  }
  return tables.m_trace;
}

std::vector<std::string> Traces(const std::vector<Sample>& samples, size_t count,
                                int which = kAll) {
  std::vector<std::string> traces;
  for (size_t i = 0; i < count; ++i)
    if (samples[i].table & which) traces.push_back(samples[i].trace);
  return traces;
}

class ResultsJournal : public testing::Test {
 protected:
  // Opens the file for writing, reads what it holds and does this; what was read.
  std::vector<std::string> Write(const std::function<void(CResultsJournal&)>& body = {}) const {
    CTables tables;
    CResultsJournal journal = Journal(tables);
    EXPECT_TRUE(journal.OpenForWriting(m_path));
    EXPECT_TRUE(journal.Load());
    if (body) body(journal);
    return tables.m_trace;
  }

  const CTempFolder m_folder;
  const std::string m_path = m_folder / "f";
  const std::vector<Sample> m_samples = Samples();
};

TEST_F(ResultsJournal, WritesTheFormatByteForByteAndReplaysIt) {
  std::string expected = Magic();
  Write([&](CResultsJournal& journal) {
    EXPECT_EQ(ReadAll(m_path).substr(0, 33), Magic() + kEndMarker);
    for (const Sample& sample : m_samples) {
      sample.append(journal);
      expected += sample.bytes;
      // On the disk at once, with the end marker behind.
      EXPECT_EQ(ReadAll(m_path).substr(0, expected.size() + 1), expected + kEndMarker);
    }
  });
  EXPECT_EQ(ReadAll(m_path), expected);
  for (const int which : {kNone, kAudio, kImage, kAnalysis, kAll})
    EXPECT_EQ(Load(m_path, which), Traces(m_samples, m_samples.size(), which)) << which;
}

TEST_F(ResultsJournal, CutAtAnyLengthLoadsTheWholeRecordsAndGoesOn) {
  std::string whole = Magic();
  std::vector<size_t> ends{whole.size()};
  for (const Sample& sample : m_samples) ends.push_back((whole += sample.bytes).size());
  for (size_t length = 32; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    size_t count = 0;
    while (count < m_samples.size() && ends[count + 1] <= length) ++count;
    std::vector<std::string> expected = Traces(m_samples, count);
    WriteAll(m_path, whole.substr(0, length));
    ASSERT_EQ(Load(m_path), expected);
    EXPECT_EQ(ReadAll(m_path), whole.substr(0, length));
    ASSERT_EQ(Write([](CResultsJournal& j) { j.RemoveAnalysisItem("/later"); }).size(),
              expected.size() + 3);
    expected.push_back("gone /later");
    ASSERT_EQ(Load(m_path), expected);
  }
}

TEST_F(ResultsJournal, FlippedBitsHarmNoEarlierRecord) {
  std::string whole = Magic();
  std::vector<size_t> ends{whole.size()};
  for (const Sample& sample : m_samples) ends.push_back((whole += sample.bytes).size());
  CTables tables;
  CReportLog log;
  for (size_t at = 0; at < whole.size(); ++at) {
    for (const size_t bit : {at % 7, size_t{7}}) {
      std::string damaged = whole;
      damaged[at] = static_cast<char>(damaged[at] ^ (1 << bit));
      WriteAll(m_path, damaged);
      CResultsJournal journal = Journal(tables);
      ASSERT_TRUE(journal.OpenForReading(m_path));
      tables.m_trace.clear();
      ASSERT_EQ(journal.Load(), at >= 32 || damaged[20] == '8');
      size_t before = 0;
      while (before < m_samples.size() && ends[before + 1] <= at) ++before;
      const std::vector<std::string> expected = Traces(m_samples, at < 32 ? 0 : before);
      ASSERT_GE(tables.m_trace.size(), expected.size());
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), tables.m_trace.begin()))
          << at << " bit " << bit;
    }
  }
}

TEST_F(ResultsJournal, ReadsOlderFilesAndAppendsToThem) {
  const std::string content =
      Magic('8') + Record(4, "/i", "/k", 0.5f) + Record(5, "/n") + AnalysisNumbers();
  WriteAll(m_path, content + kEndMarker);
  Write([](CResultsJournal& j) { j.AddImagePair("/x", "/y", 1, 1); });
  EXPECT_EQ(ReadAll(m_path), content + Record(12, "/x", "/y", 1.0f, 1.0f));
  const std::vector<std::string> trace = Load(m_path);
  ASSERT_EQ(trace.size(), 3u);
  EXPECT_EQ(trace[0], "image pair /i /k 0.500000 -1.000000");
  EXPECT_EQ(trace[1].substr(0, 30), "analysis /n    1099511627776 3");
  EXPECT_EQ(trace[2], "image pair /x /y 1.000000 1.000000");
}

TEST_F(ResultsJournal, OpeningForWritingWipesWhatIsForeign) {
  for (const std::string& content : {std::string(), std::string("a text"), Magic().substr(0, 31),
                                     Magic('7') + "x", std::string(100000, '\1')}) {
    WriteAll(m_path, content);
    Write();
    EXPECT_EQ(ReadAll(m_path), Magic() + kEndMarker);
  }
  // A bare magic is complete: the end of the file does for the marker.
  WriteAll(m_path, Magic());
  Write();
  EXPECT_EQ(ReadAll(m_path), Magic());
}

TEST_F(ResultsJournal, ReportsWhatItCannotOpenOrLoad) {
  CTables tables;
  CReportLog log;
  CResultsJournal journal = Journal(tables);
  EXPECT_FALSE(journal.Load());
  EXPECT_FALSE(journal.Rebuild());
  EXPECT_FALSE(journal.OpenForReading(m_folder / "none"));
  EXPECT_FALSE(journal.OpenForWriting(m_folder / "none/f"));
  EXPECT_EQ(log.Take(), "Load:45 Rebuild:459 Open:102 Open:36 Open:102 Open:445 ");
  WriteAll(m_path, "a text");
  EXPECT_TRUE(journal.OpenForReading(m_path));
  EXPECT_FALSE(journal.Load());
  EXPECT_EQ(log.Take(), "Load:51 ");
  EXPECT_TRUE(tables.m_trace.empty());

  // Nothing may be appended behind records that have not been read, nor read twice.
  const std::string content = Magic() + Record('g', "/n");
  WriteAll(m_path, content);
  EXPECT_TRUE(journal.OpenForWriting(m_path));
  EXPECT_TRUE(journal.Load());
  EXPECT_FALSE(journal.Load());
  EXPECT_EQ(log.Take(), "Load:474 ");
  EXPECT_EQ(tables.m_trace.size(), 4u);

  // One that is open for reading is never written.
  WriteAll(m_path, content);
  ASSERT_TRUE(journal.OpenForReading(m_path));
  tables.m_trace.clear();
  journal.RemoveAnalysisItem("/x");
  EXPECT_TRUE(journal.Load());
  EXPECT_EQ(tables.m_trace.front(), "gone /n");
  journal.RemoveAnalysisItem("/x");
  EXPECT_FALSE(journal.Rebuild());
  EXPECT_EQ(ReadAll(m_path), content);
}

TEST_F(ResultsJournal, RebuildReplacesTheContent) {
  CReportLog log;
  CTables tables;
  tables.m_contents[0] = [](CResultsJournal& j) { j.RemoveAudioPair("/a", "/b"); };
  tables.m_contents[1] = [](CResultsJournal& j) { j.RemoveImagePair("/i", "/k"); };
  tables.m_contents[2] = [](CResultsJournal& j) { j.RemoveAnalysisItem("/n"); };
  for (int refusing = -1; refusing < 3; ++refusing) {
    SCOPED_TRACE(refusing);
    WriteAll(m_path, Magic('8') + Record('g', std::string(4464, 'x')));
    {
      CResultsJournal journal = Journal(tables);
      ASSERT_TRUE(journal.OpenForWriting(m_path));
      tables.m_asked = 0;
      tables.m_refusing = refusing;
      EXPECT_EQ(journal.Rebuild(), refusing == -1);
    }
    const int written = refusing == -1 ? 3 : refusing + 1;
    EXPECT_EQ(tables.m_asked, written);
    const std::string all = Record('e', "/a", "/b") + Record('f', "/i", "/k") + Record('g', "/n");
    const size_t lengths[] = {0, 9, 18, 23};
    EXPECT_EQ(ReadAll(m_path), Magic() + all.substr(0, lengths[written]));
  }
  EXPECT_EQ(log.Take(), "Rebuild:463 Rebuild:464 Rebuild:465 ");
}

TEST_F(ResultsJournal, WhatIsAppendedSurvivesAKill) {
  constexpr int kRecords = 5000;  // several windows
  const auto name = [](int i) { return std::string("/folder/file").append(std::to_string(i)); };
  EXPECT_EQ(InChild([&] {
              Write([&](CResultsJournal& journal) {
                for (int i = 0; i < kRecords; ++i) journal.RemoveAudioPair(name(i), name(i + 1));
                kill(getpid(), SIGKILL);
              });
              return 2;
            }),
            -SIGKILL);
  EXPECT_EQ(std::filesystem::file_size(m_path) % CFileMap::kWindow, 0u);
  std::vector<std::string> expected;
  for (int i = 0; i < kRecords; ++i) expected.push_back("gone " + name(i) + " " + name(i + 1));
  EXPECT_TRUE(Load(m_path) == expected);
  Write([](CResultsJournal& j) { j.RemoveAnalysisItem("/later"); });
  expected.push_back("gone /later");
  EXPECT_TRUE(Load(m_path) == expected);
}

TEST_F(ResultsJournal, LeavesOutStringsThatDoNotFit) {
  const std::string longest(65535, 'x'), tooLong(65536, 'y');
  Write([&](CResultsJournal& journal) {
    journal.RemoveAudioPair(longest, "/b");
    journal.RemoveAudioPair(tooLong, "/b");
  });
  EXPECT_TRUE(ReadAll(m_path) == Magic() + Record('e', longest, "/b") + Record('e', "/b"));
  EXPECT_TRUE(Load(m_path) == std::vector<std::string>{"gone " + longest + " /b"});
}

TEST_F(ResultsJournal, AFullDiskKeepsWhatWasWritten) {
  EXPECT_EQ(InChild([&] {
              CReportLog log;
              CTables tables;
              const std::string longest(65535, 'x');
              tables.m_contents[0] = [&](CResultsJournal& j) {
                j.RemoveAudioPair("/a", "/b");
                for (int i = 0; i < 10; ++i) j.RemoveAudioPair(longest, longest);
              };
              CResultsJournal journal = Journal(tables);
              if (!journal.OpenForWriting(m_path)) return 1;
              const CShortDisk disk(3 * CFileMap::kWindow);
              return journal.Rebuild() ? 2 : 0;
            }),
            0);
  const std::vector<std::string> trace = Load(m_path);
  ASSERT_FALSE(trace.empty());
  EXPECT_EQ(trace.front(), "gone /a /b");

  // A file that cannot be grown at the opening is not taken for a foreign one.
  const std::string content = Magic() + Record('g', "/n");
  WriteAll(m_path, content);
  EXPECT_EQ(InChild([&] {
              CReportLog log;
              CTables tables;
              CResultsJournal journal = Journal(tables);
              const CShortDisk disk(1000);
              return journal.OpenForWriting(m_path) ? 1 : 0;
            }),
            0);
  EXPECT_EQ(ReadAll(m_path), content);
}

TEST_F(ResultsJournal, APositionNearFourGigabytesDoesNotWrap) {
  CReportLog log;
  Write([](CResultsJournal& journal) {
    journal.RemoveAudioPair("/a", "/b");
    CResultsJournalProbe::SetPosition(journal, UINT32_MAX - 10);
    for (int i = 0; i < 5; ++i) journal.RemoveAudioPair("/overwritten", "/overwritten");
  });
  EXPECT_EQ(log.Take().substr(0, 8), "Map:164 ");
  EXPECT_EQ(Load(m_path), std::vector<std::string>{"gone /a /b"});
}

}  // namespace
}  // namespace quill
