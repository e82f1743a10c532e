// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/audio_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "audio/audio_comparer.h"
#include "audio/audio_record.h"
#include "storage/stop_and_resume.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

std::string PathOf(std::initializer_list<int> steps) {
  std::string path;
  for (const int step : steps) path.append("/").append(std::to_string(step));
  return path;
}

CRef<const ItemBase> Item(const std::string& path, uint32_t durationMs = 180000) {
  auto item = MakeRef<ItemBase>();
  item->path = path;
  item->artist = "Artist of " + path;
  item->album = "Album";
  item->title = "Title";
  item->durationMs = durationMs;
  item->bitrate = 128000;
  item->format = 6;
  item->modified = 1700000000;
  item->size = 5000000000;
  return item;
}

void Fill(CFloatVector* values, size_t n, float first) {
  values->resize(n);
  for (size_t i = 0; i < n; ++i) (*values)[i] = first + static_cast<float>(i * i % 97);
}

// All kinds of part at once, which no file has, so that one record covers every field.
AudioEntry FullEntry(const std::string& path, int32_t barkLength = kBarkLongest) {
  AudioEntry parts;
  parts.info = Item(path);
  auto spectrum = MakeRef<SpectrumPrint>();
  Fill(&spectrum->skeleton, 100, 1);
  Fill(&spectrum->deflection, 10, 2);
  Fill(&spectrum->spectrum, 2048, 3);
  parts.spectrum = spectrum;
  auto bark = MakeRef<BarkPrint>();
  bark->length = barkLength;
  for (int32_t band = 0; band < kBarkBands; ++band)
    for (int32_t i = 0; i < barkLength; ++i) bark->Band(band)[i] = uint8_t(band * 31 + i * i);
  parts.bark = bark;
  auto correlogram = MakeRef<CorrelogramPrint>();
  correlogram->values.resize(size_t{23} * 40);
  for (size_t i = 0; i < correlogram->values.size(); ++i) correlogram->values[i] = uint8_t(i * 7);
  parts.correlogram = correlogram;
  return parts;
}

// Those parts of a whole entry.
AudioEntry Only(const AudioEntry& full, uint32_t parts) {
  AudioEntry some;
  if (parts & AudioEntry::kInfo) some.info = full.info;
  if (parts & AudioEntry::kSpectrum) some.spectrum = full.spectrum;
  if (parts & AudioEntry::kBark) some.bark = full.bark;
  if (parts & AudioEntry::kCorrelogram) some.correlogram = full.correlogram;
  return some;
}

std::vector<uint8_t> Payload(const std::string& path, const AudioEntry& parts) {
  CCacheRecord record(CacheRecordType::kAudio);
  EXPECT_TRUE(WriteAudioRecord(path, parts, &record));
  return {record.Bytes().begin() + CCacheRecord::kHead, record.Bytes().end()};
}

class AudioStore : public testing::Test {
 protected:
  AudioStore() {
    m_cache.SetClient(CacheRecordType::kAudio, &m_store);
    EXPECT_TRUE(m_cache.Load(m_folder / "cache.dat"));
  }

  void FileOf(const std::string& path, uint8_t group = 0) {
    AudioEntry parts;
    parts.info = Item(path);
    ASSERT_EQ(m_store.File(path, parts, group, false), CAudioStore::Filed::kYes);
  }
  uint32_t OrdinalOf(const std::string& path) {
    AudioEntry entry;
    EXPECT_TRUE(m_store.FindEntry(path, &entry)) << path;
    return entry.ordinal;
  }
  std::vector<std::string> WalkOrder() {
    std::vector<std::string> paths;
    AudioEntry entry;
    for (uint32_t last = 0; m_store.NextEntry(last, &entry); last = entry.ordinal)
      paths.push_back(entry.info->path);
    return paths;
  }

  test::CTempFolder m_folder;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_store{m_cache, m_counters};
};

TEST_F(AudioStore, FileJoinsAScanOnce) {
  FileOf("/b", 3);
  FileOf("/a");
  AudioEntry again;
  again.info = Item("/b", 1);
  EXPECT_EQ(m_store.File("/b", again, 7, false), CAudioStore::Filed::kAlready);
  AudioEntry entry;
  ASSERT_TRUE(m_store.FindEntry("/b", &entry));
  EXPECT_EQ(entry.group, 3U);
  EXPECT_EQ(entry.info->durationMs, 180000U);
  EXPECT_EQ(WalkOrder(), (std::vector<std::string>{"/b", "/a"}));
  EXPECT_EQ(m_store.File("/c", AudioEntry(), 0, false), CAudioStore::Filed::kFailed);

  const uint32_t before = OrdinalOf("/a");
  m_store.ResetScanState();
  EXPECT_TRUE(WalkOrder().empty());
  EXPECT_EQ(m_store.EntryCount(), 2U);
  ASSERT_EQ(m_store.File("/b", again, 7, false), CAudioStore::Filed::kYes);
  EXPECT_GT(OrdinalOf("/b"), before);
  ASSERT_TRUE(m_store.FindEntry("/b", &entry));
  EXPECT_EQ(entry.group, 7U);
  EXPECT_EQ(entry.info->durationMs, 1U);
}

TEST_F(AudioStore, LaterRecordExtendsAnEarlierOne) {
  const AudioEntry full = FullEntry("/x");
  const AudioEntry first = Only(full, AudioEntry::kInfo | AudioEntry::kSpectrum);
  AudioEntry second = Only(full, AudioEntry::kBark);
  second.keys = MakeTagKeys(*full.info);
  ASSERT_EQ(m_store.File("/x", first, 1, true), CAudioStore::Filed::kYes);
  m_store.ResetScanState();
  ASSERT_EQ(m_store.File("/x", second, 1, true), CAudioStore::Filed::kYes);
  ASSERT_EQ(m_store.File("/quiet", FullEntry("/quiet"), 1, false), CAudioStore::Filed::kYes);

  CCacheStore cache;
  CAudioStore loaded(cache, m_counters);
  cache.SetClient(CacheRecordType::kAudio, &loaded);
  ASSERT_TRUE(cache.Load(m_folder / "cache.dat"));
  EXPECT_EQ(loaded.EntryCount(), 1U);
  AudioEntry entry;
  ASSERT_TRUE(loaded.FindEntry("/x", &entry));
  EXPECT_EQ(entry.group, 0U);
  EXPECT_EQ(entry.ordinal, 0U);
  EXPECT_EQ(entry.info->artist, "Artist of /x");
  ASSERT_TRUE(entry.spectrum && entry.bark);
  EXPECT_FALSE(entry.keys || entry.correlogram);
  EXPECT_EQ(entry.spectrum->skeleton, full.spectrum->skeleton);
  EXPECT_EQ(entry.spectrum->deflection, full.spectrum->deflection);
  EXPECT_EQ(entry.spectrum->spectrum, full.spectrum->spectrum);
  EXPECT_EQ(entry.bark->length, kBarkLongest);
  EXPECT_EQ(entry.bark->rows, full.bark->rows);
}

CRef<const ItemBase> Rewritten(const ItemBase& item) {
  auto other = MakeRef<ItemBase>();
  other->path = item.path;
  other->title = "Another title";
  other->size = item.size;
  other->modified = item.modified + 1;
  return other;
}

// What a file held before it was written anew must not stand for what it holds now.
TEST_F(AudioStore, ChangedFileLosesWhatItDoesNotYieldAgain) {
  AudioEntry before = FullEntry("/x");
  before.keys = MakeTagKeys(*before.info);
  ASSERT_EQ(m_store.File("/x", before, 0, false), CAudioStore::Filed::kYes);
  m_store.ResetScanState();
  AudioEntry after = Only(FullEntry("/x"), AudioEntry::kCorrelogram);
  after.info = Rewritten(*before.info);
  const uint32_t asked = AudioEntry::kInfo | AudioEntry::kSpectrum | AudioEntry::kCorrelogram;
  ASSERT_EQ(m_store.File("/x", after, 0, false, asked), CAudioStore::Filed::kYes);
  AudioEntry entry;
  ASSERT_TRUE(m_store.FindEntry("/x", &entry));
  EXPECT_FALSE(entry.keys || entry.spectrum);
  EXPECT_EQ(entry.bark, before.bark);  // nobody asked
  EXPECT_EQ(entry.correlogram, after.correlogram);

  // The same file, with no more of it known than its tags.
  m_store.ResetScanState();
  ASSERT_EQ(m_store.File("/x", Only(after, AudioEntry::kInfo), 0, false), CAudioStore::Filed::kYes);
  ASSERT_TRUE(m_store.FindEntry("/x", &entry));
  EXPECT_TRUE(entry.bark && entry.correlogram);
}

TEST_F(AudioStore, RecordOfAChangedFileReplacesTheEarlierOnes) {
  const AudioEntry full = FullEntry("/x");
  const AudioEntry first = Only(full, AudioEntry::kInfo | AudioEntry::kSpectrum);
  const AudioEntry addition = Only(full, AudioEntry::kBark);
  AudioEntry changed = Only(full, AudioEntry::kCorrelogram);
  changed.info = Rewritten(*full.info);
  AudioEntry entry;
  for (const AudioEntry& parts : {first, addition})
    m_store.LoadRecord(CCacheReader(Payload("/x", parts)));
  ASSERT_TRUE(m_store.FindEntry("/x", &entry));
  EXPECT_TRUE(entry.spectrum && entry.bark);
  for (const AudioEntry& parts : {changed, addition})
    m_store.LoadRecord(CCacheReader(Payload("/x", parts)));
  ASSERT_TRUE(m_store.FindEntry("/x", &entry));
  EXPECT_EQ(entry.info->title, "Another title");
  EXPECT_TRUE(entry.bark && entry.correlogram);
  EXPECT_FALSE(entry.spectrum);
}

// The fixed layout of a record, byte by byte: a file of an earlier run must stay readable.
TEST_F(AudioStore, RecordLayout) {
  AudioEntry parts;
  auto info = MakeRef<ItemBase>();
  info->artist = "R";
  info->title = "T2";
  info->durationMs = 0x01020304;
  info->bitrate = 5;
  info->format = 6;
  info->modified = 7;
  info->size = 8;
  parts.info = info;
  auto correlogram = MakeRef<CorrelogramPrint>();
  correlogram->values.assign(23, 9);
  parts.correlogram = correlogram;
  const std::array<uint8_t, 38> head = {2, 0, '/', 'p', 9, 8, 0,   0, 0, 0, 0,  0,   0,
                                        7, 0, 0,   0,   1, 0, 'R', 0, 0, 2, 0,  'T', '2',
                                        4, 3, 2,   1,   5, 0, 0,   0, 6, 0, 23, 0};
  const std::vector<uint8_t> payload = Payload("/p", parts);
  ASSERT_EQ(payload.size(), head.size() + 23);
  EXPECT_TRUE(std::equal(head.begin(), head.end(), payload.begin()));
  EXPECT_EQ(payload.back(), 9);
}

TEST_F(AudioStore, RecordCutAnywhereAddsNothing) {
  const std::vector<uint8_t> payload = Payload("/x", FullEntry("/x", 20));
  for (size_t length = 0; length < payload.size(); ++length) {
    const std::vector<uint8_t> cut(payload.begin(), payload.begin() + ptrdiff_t(length));
    m_store.LoadRecord(CCacheReader(cut));
    ASSERT_EQ(m_store.EntryCount(), 0U) << length;
  }
  m_store.LoadRecord(CCacheReader(payload));
  EXPECT_EQ(m_store.EntryCount(), 1U);
}

TEST_F(AudioStore, ImpossibleRecordsAreRefused) {
  const AudioEntry onlyBark = Only(FullEntry("/x", 20), AudioEntry::kBark);
  m_store.LoadRecord(CCacheReader(Payload("/unknown", onlyBark)));
  const std::vector<uint8_t> nothing = {2, 0, '/', 'p', 0};
  m_store.LoadRecord(CCacheReader(nothing));
  EXPECT_EQ(m_store.EntryCount(), 0U);
  FileOf("/p");
  m_store.LoadRecord(CCacheReader(nothing));
  EXPECT_EQ(m_store.EntryCount(), 1U);

  AudioEntry none;
  CCacheRecord record(CacheRecordType::kAudio);
  EXPECT_FALSE(WriteAudioRecord("/p", none, &record));
  EXPECT_FALSE(WriteAudioRecord(std::string(40000, 'p'), onlyBark, &record));
}

// Whatever a damaged file holds, what is kept of it can be used without leaving its bounds.
TEST_F(AudioStore, FlippedBitsDoNoHarm) {
  std::mt19937 random(5);
  const AudioEntry sound = FullEntry("/x", 320);
  const std::vector<uint8_t> payload = Payload("/x", sound);
  uint32_t kept = 0;
  for (int round = 0; round < 3000; ++round) {
    std::vector<uint8_t> damaged = payload;
    // Half of the damage into lengths and flags: the first bytes, and the heads of the vectors.
    const size_t spots[] = {4, 37, 38, 439, 481, 482, 8675, 8676, 8997};
    const size_t at = round % 2 ? spots[random() % 9] : random() % damaged.size();
    damaged[at] ^= uint8_t(1U << random() % 8);
    m_store.ClearEntries();
    m_store.LoadRecord(CCacheReader(damaged));
    AudioEntry entry;
    if (!m_store.FindEntry("/x", &entry)) continue;
    ++kept;
    if (entry.spectrum) {
      const float score = ContentScore(*entry.spectrum, *sound.spectrum);
      ASSERT_TRUE(score == -1 || (score >= 0 && score < 1.001F)) << score;
      (void)ContentScore(*sound.spectrum, *entry.spectrum);
    }
    if (entry.bark) {
      ASSERT_LE(entry.bark->length, kBarkLongest);
    }
    if (entry.correlogram) {
      ASSERT_EQ(entry.correlogram->values.size() % 23, 0U);
      (void)ScoreCorrelogram(*entry.correlogram, *sound.correlogram);
    }
  }
  EXPECT_GT(kept, 1000U);
}

TEST_F(AudioStore, GetCacheGivesTheStoredRecordOnlyIfAllIsEqual) {
  FileOf("/x");
  AudioEntry entry;
  ASSERT_TRUE(m_store.FindEntry("/x", &entry));
  const ItemBase& is = *entry.info;
  const auto get = [&](int changed) {
    const auto text = [&](int n, const std::string& value) {
      return changed == n ? value + "!" : value;
    };
    const auto number = [&](int n, auto value) {
      return static_cast<decltype(value)>(changed == n ? value + 1 : value);
    };
    return m_store.GetCache({text(0, "/x"), text(1, is.artist), text(2, is.album),
                             text(3, is.title), number(4, is.durationMs), number(5, is.bitrate),
                             number(6, is.format), number(7, is.size)});
  };
  EXPECT_EQ(get(-1).Get(), entry.info.Get());
  for (int changed = 0; changed < 8; ++changed) {
    const CRef<const ItemBase> made = get(changed);
    ASSERT_TRUE(made);
    EXPECT_NE(made.Get(), entry.info.Get()) << changed;
    EXPECT_EQ(made->modified, 0U);
  }
  EXPECT_EQ(get(3)->title, "Title!");
  EXPECT_EQ(m_store.EntryCount(), 1U);
}

TEST_F(AudioStore, RestoreRebuildsTheOrderOfArrival) {
  for (const char* path : {"/a", "/b", "/c"}) FileOf(path);
  m_store.ResetScanState();
  EXPECT_TRUE(m_store.RestoreState("/c", 4));
  EXPECT_TRUE(m_store.RestoreState("/a", 0));
  EXPECT_TRUE(m_store.RestoreState("/c", 5));  // already in the scan
  EXPECT_FALSE(m_store.RestoreState("/unknown", 0));
  EXPECT_EQ(m_counters.processed, 2);
  EXPECT_EQ(m_counters.scheduled, 2);
  EXPECT_EQ(WalkOrder(), (std::vector<std::string>{"/c", "/a"}));
  AudioEntry entry;
  ASSERT_TRUE(m_store.FindEntry("/c", &entry));
  EXPECT_EQ(entry.group, 4U);
  ASSERT_TRUE(entry.keys);
  EXPECT_EQ(entry.keys->filename, U"c");
}

TEST_F(AudioStore, ScanStateSurvivesTheProgram) {
  for (const char* path : {"/a", "/b", "/c", "/d"}) FileOf(path);
  m_store.ResetScanState();
  FileOf("/d", 200);
  FileOf("/a", 1);
  FileOf("/c");
  test::StopAndResume(m_folder / "pending", &m_store, nullptr, [&] { m_store.ResetScanState(); });
  EXPECT_EQ(WalkOrder(), (std::vector<std::string>{"/d", "/a", "/c"}));
  AudioEntry entry;
  ASSERT_TRUE(m_store.FindEntry("/d", &entry));
  EXPECT_EQ(entry.group, 200U);
}

TEST_F(AudioStore, WalkInBatchesEqualsTheWalkOneByOne) {
  std::mt19937 random(11);
  for (int i = 0; i < 9000; ++i) {
    const std::string path = PathOf({i});
    AudioEntry parts;
    parts.info = Item(path, random() % 20 ? random() % 1000 + (i > 4000 ? 0 : 5000) : 0);
    ASSERT_EQ(m_store.File(path, parts, uint8_t(random() % 4), false), CAudioStore::Filed::kYes);
  }
  for (int round = 0; round < 12; ++round) {
    AudioGate gate;
    gate.group = uint8_t(random() % 4);
    gate.durationMs = round % 4 ? random() % 1000 : 0;
    gate.ratio = round % 3 ? 0.97F : 0;
    const uint32_t end = round ? random() % 9001 : 10000;
    std::vector<uint32_t> expected;
    AudioEntry entry;
    for (uint32_t last = 0; m_store.NextEntry(last, &entry) && entry.ordinal < end;
         last = entry.ordinal) {
      const auto a = static_cast<float>(std::min(gate.durationMs, entry.info->durationMs));
      const auto b = static_cast<float>(std::max(gate.durationMs, entry.info->durationMs));
      if (gate.group && gate.group == entry.group) continue;
      if (gate.ratio > 0 && a != 0 && gate.ratio * b > a) continue;
      expected.push_back(entry.ordinal);
    }
    std::vector<uint32_t> walked;
    std::vector<AudioEntry> found;
    uint32_t last = 0;
    while (m_store.NextEntries(gate, end, &last, &found))
      for (const AudioEntry& one : found) walked.push_back(one.ordinal);
    ASSERT_EQ(walked, expected) << round;
  }
}

// Every worker files its files and walks the earlier ones after each, as in a scan.
TEST_F(AudioStore, EachPairIsSeenOnceByManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kFiles = 60;  // a thread
  std::array<std::vector<std::pair<uint32_t, uint32_t>>, kThreads> pairs;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kFiles; ++i) {
        // Neighbours share every third path: whoever comes second must be sent away.
        const std::string path = PathOf({i % 3 ? t : t / 2, i});
        AudioEntry parts;
        parts.info = Item(path);
        if (m_store.File(path, parts, 0, true) != CAudioStore::Filed::kYes) continue;
        AudioEntry target;
        if (!m_store.FindEntry(path, &target)) continue;
        std::vector<AudioEntry> found;
        uint32_t last = 0;
        while (m_store.NextEntries({}, target.ordinal, &last, &found))
          for (const AudioEntry& one : found) pairs[t].emplace_back(one.ordinal, target.ordinal);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<std::pair<uint32_t, uint32_t>> seen;
  size_t count = 0;
  for (const auto& some : pairs) {
    seen.insert(some.begin(), some.end());
    count += some.size();
  }
  const size_t files = m_store.EntryCount();
  EXPECT_EQ(files, size_t{kThreads * kFiles - 2 * kFiles / 3});
  EXPECT_EQ(count, files * (files - 1) / 2);
  EXPECT_EQ(seen.size(), count);
}

}  // namespace
}  // namespace quill
