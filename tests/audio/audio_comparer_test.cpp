// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/audio_comparer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <random>

#include "support/media_maker.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

struct Pair {
  std::string first, second;
  uint8_t firstGroup, secondGroup;
  float tags, content, precise;
};

class CCollector : public CAudioPairSink {
 public:
  bool LockedAdd(CAudioPairSink::Found pair) override {
    const auto& [tags, content, precise] = pair.scores;
    m_pairs.push_back({pair.first->path, pair.second->path, pair.firstGroup, pair.secondGroup, tags,
                       content, precise});
    return true;
  }
  std::vector<Pair> m_pairs;
};

// A worker's engine with a store of its own. `program` is the decoder, by default the real one.
class CEngine {
 public:
  explicit CEngine(std::string program = {}) : m_link(m_table, std::move(program)) {
    m_table.Reload();
  }

  [[nodiscard]] AudioEntry Entry(const std::string& path) const {
    AudioEntry entry;
    (void)m_store.FindEntry(path, &entry);
    return entry;
  }
  [[nodiscard]] const Pair* PairOf(const std::string& first, const std::string& second) const {
    for (const Pair& pair : m_sink.m_pairs)
      if (pair.first == first && pair.second == second) return &pair;
    return nullptr;
  }

  CDecoderTable m_table;
  CProcessLink m_link;
  CAudioDecoder m_decoder{m_link};
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_store{m_cache, m_counters};
  CIgnoreList m_ignores;
  AudioSettings m_settings;
  CCollector m_sink;
  CAudioComparer m_comparer{m_decoder, m_store, m_ignores, m_settings, m_sink};
};

constexpr uint32_t kAll = CAudioComparer::kSpectrum | CAudioComparer::kBark |
                          CAudioComparer::kCorrelogram | CAudioComparer::kKeys;

CRef<const BarkPrint> RandomBark(uint32_t seed, int32_t length) {
  std::mt19937 random(seed);
  auto print = MakeRef<BarkPrint>();
  print->length = length;
  for (int32_t band = 0; band < kBarkBands; ++band)
    for (int32_t i = 0; i < length; ++i) print->Band(band)[i] = uint8_t(random());
  return print;
}

CRef<const CorrelogramPrint> RandomCorrelogram(uint32_t seed, size_t run) {
  std::mt19937 random(seed);
  auto print = MakeRef<CorrelogramPrint>();
  print->values.resize(kCorrelogramBands * run);
  for (uint8_t& value : print->values) value = uint8_t(random());
  return print;
}

CRef<const SpectrumPrint> RandomSpectrum(uint32_t seed) {
  std::mt19937 random(seed);
  std::normal_distribution<float> level;
  auto print = MakeRef<SpectrumPrint>();
  print->skeleton.resize(100);
  print->deflection.resize(10);
  print->spectrum.resize(2048);
  for (CFloatVector* values : {&print->skeleton, &print->deflection, &print->spectrum})
    for (float& value : *values) value = level(random);
  return print;
}

// Files put into the store by hand; no decoder runs.
class Walk : public testing::Test {
 protected:
  Walk() { m_engine.m_settings.Configure(true, true, true, true, true, 0.75F, 0.75F, 0.5F, 0.7F); }

  AudioEntry Parts(const std::string& path, uint32_t durationMs = 200000,
                   const std::string& artist = {}, const std::string& title = {}) {
    auto item = MakeRef<ItemBase>();
    item->path = path;
    item->artist = artist;
    item->title = title;
    item->durationMs = durationMs;
    AudioEntry parts;
    parts.info = item;
    parts.keys = MakeTagKeys(*item);
    return parts;
  }
  void Add(const AudioEntry& parts, uint8_t group = 0) {
    const std::string& path = parts.info->path;
    ASSERT_EQ(m_engine.m_store.File(path, parts, group, false), CAudioStore::Filed::kYes);
    ASSERT_TRUE(m_engine.m_comparer.CompareFile(path));
  }
  const std::vector<Pair>& Pairs() const { return m_engine.m_sink.m_pairs; }

  CEngine m_engine{"/no decoder"};
};

TEST_F(Walk, DurationGate) {
  struct Case {
    float ratio;
    uint32_t target, candidate;
    bool passes, isOn = true;
  };
  const std::array<Case, 9> cases = {{{0.7F, 100000, 70000, true},
                                      {0.7F, 70000, 100000, true},
                                      {0.7F, 100000, 69999, false},
                                      {0.7F, 69999, 100000, false},
                                      {0.7F, 100000, 0, true},
                                      {0.7F, 0, 100000, true},
                                      {0.0F, 100000, 1, true},
                                      {1.0F, 100000, 99999, false},
                                      {1.0F, 100000, 1, true, false}}};
  for (const Case& c : cases) {
    m_engine.m_sink.m_pairs.clear();
    m_engine.m_store.ClearEntries();
    m_engine.m_settings.Configure(true, false, false, c.isOn, true, 0.75F, 1, 1, c.ratio);
    Add(Parts("/a/Song.mp3", c.candidate));
    Add(Parts("/b/Song.mp3", c.target));
    EXPECT_EQ(Pairs().size(), c.passes ? 1U : 0U) << c.target << " " << c.candidate;
  }
}

TEST_F(Walk, FolderGroupsAndIgnoredPairs) {
  Add(Parts("/0a/Song.mp3"), 0);
  Add(Parts("/0b/Song.mp3"), 0);
  Add(Parts("/3a/Song.mp3"), 3);
  m_engine.m_ignores.AddIgnore("/0b/Song.mp3", "/3b/Song.mp3");
  Add(Parts("/3b/Song.mp3"), 3);
  std::vector<std::string> seen;
  for (const Pair& pair : Pairs())
    seen.push_back(pair.first.substr(1, 2) + pair.second.substr(1, 2));
  EXPECT_EQ(seen, (std::vector<std::string>{"0b0a", "3a0a", "3a0b", "3b0a"}));
  EXPECT_EQ(Pairs().back().firstGroup, 3);
  EXPECT_EQ(Pairs().back().secondGroup, 0);
}

TEST_F(Walk, TagGateCutsOnlyWhereBothSidesHaveTheField) {
  m_engine.m_settings.Configure(true, false, false, true, true, 0, 1, 1, 0.7F);
  m_engine.m_settings.SetTagGate(true, false, false, 0.95F, 0, 0);
  Add(Parts("/1/Song.mp3", 200000, "Anna"));
  Add(Parts("/2/Song.mp3", 200000, "Bert"));
  EXPECT_TRUE(Pairs().empty());
  Add(Parts("/3/Song.mp3"));
  EXPECT_EQ(Pairs().size(), 2U);
  Add(Parts("/4/Song.mp3", 200000, "ANNA!"));
  EXPECT_TRUE(m_engine.PairOf("/4/Song.mp3", "/1/Song.mp3"));
  EXPECT_FALSE(m_engine.PairOf("/4/Song.mp3", "/2/Song.mp3"));
}

TEST_F(Walk, ScoresTravelTogether) {
  AudioEntry a = Parts("/a/One.mp3");
  a.spectrum = RandomSpectrum(1);
  a.bark = RandomBark(1, 637);
  AudioEntry b = Parts("/b/Two.mp3");
  b.spectrum = RandomSpectrum(2);
  b.bark = a.bark;
  Add(a);
  Add(b);
  ASSERT_EQ(Pairs().size(), 1U);
  EXPECT_EQ(Pairs()[0].first, "/b/Two.mp3");
  EXPECT_NEAR(Pairs()[0].precise, 1, 1e-3);
  EXPECT_GE(Pairs()[0].content, 0);
  EXPECT_LT(Pairs()[0].content, 0.5F);
  EXPECT_GE(Pairs()[0].tags, 0);
  EXPECT_LT(Pairs()[0].tags, 0.75F);

  // A score of a measure that is off is -1, and its threshold of 0 lets nothing through.
  m_engine.m_settings.Configure(false, false, true, true, true, 0, 0, 0.5F, 0.7F);
  AudioEntry c = Parts("/c/One.mp3");
  c.spectrum = a.spectrum;
  c.bark = a.bark;
  Add(c);
  ASSERT_EQ(Pairs().size(), 3U);
  EXPECT_EQ(Pairs()[2].tags, -1);
  EXPECT_EQ(Pairs()[2].content, -1);
  AudioEntry d = Parts("/d/One.mp3");
  d.bark = RandomBark(9, 637);
  Add(d);
  EXPECT_EQ(Pairs().size(), 3U);
}

TEST_F(Walk, PreciseNeedsTwoPrintsOfOneKind) {
  m_engine.m_settings.Configure(true, false, true, false, true, 0, 1, 0, 0);
  std::array<AudioEntry, 5> files = {Parts("/1"), Parts("/2"), Parts("/3"), Parts("/4"),
                                     Parts("/5")};
  files[0].correlogram = files[3].correlogram = RandomCorrelogram(1, 100);
  files[1].bark = files[4].bark = RandomBark(1, 400);
  files[2].bark = RandomBark(1, 299);  // too short
  for (const AudioEntry& parts : files) Add(parts);
  ASSERT_EQ(Pairs().size(), 10U);
  for (const Pair& pair : Pairs()) {
    const bool twins =
        (pair.first == "/4" && pair.second == "/1") || (pair.first == "/5" && pair.second == "/2");
    EXPECT_NEAR(pair.precise, twins ? 1 : -1, 1e-3) << pair.first << " " << pair.second;
  }
}

TEST_F(Walk, UnknownFileAndNothingToCompare) {
  EXPECT_FALSE(m_engine.m_comparer.CompareFile("/unknown"));
  m_engine.m_settings.Configure(false, false, false, true, true, 0, 0, 0, 0);
  EXPECT_FALSE(m_engine.m_comparer.AddFile("/unknown", 0));
}

TEST(ContentScore, WeighsThreeCorrelations) {
  const CRef<const SpectrumPrint> a = RandomSpectrum(1);
  EXPECT_NEAR(ContentScore(*a, *a), 1, 1e-5);
  SpectrumPrint turned;
  turned.spectrum = a->spectrum;
  turned.skeleton = a->skeleton;
  turned.deflection = a->deflection;
  for (float& value : turned.spectrum) value = -2 * value + 5;
  EXPECT_NEAR(ContentScore(*a, turned), 1, 1e-5);
  turned.skeleton.assign(100, 0);  // constant against varying: no match
  EXPECT_NEAR(ContentScore(*a, turned), std::sqrt(0.8), 1e-5);
  turned.deflection.assign(10, 0);
  EXPECT_NEAR(ContentScore(*a, turned), std::sqrt(0.6), 1e-5);
  turned.spectrum.pop_back();
  EXPECT_EQ(ContentScore(*a, turned), -1);
}

TEST(AudioSettings, ValuesAreClamped) {
  AudioSettings settings;
  settings.Configure(false, true, false, true, false, -1, 2, std::nanf(""), 0.25F);
  EXPECT_EQ(settings.mode, AudioSettings::kContent | AudioSettings::kDuration);
  EXPECT_EQ(settings.tags, 0);
  EXPECT_EQ(settings.content, 1);
  EXPECT_EQ(settings.precise, 0);
  EXPECT_EQ(settings.duration, 0.25F);
}

// From here on real files through the real decoder.

constexpr uint32_t kRate = 22050;  // the rate of the prints: samples arrive one for one

// A square wave: with no sample louder than another, its start is its first sample.
std::vector<float> Steady(double seconds) {
  std::vector<float> samples(static_cast<size_t>(seconds * kRate));
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = i / 20 % 2 ? 0.5F : -0.5F;
  return samples;
}

class Files : public testing::Test {
 protected:
  // As the application does: a decoder that dies must not take us along.
  static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); }

  std::string Wav(const std::string& name, const std::vector<float>& samples) {
    test::WriteWav(m_folder / name, samples, kRate, 1, test::WavType::kFloat32);
    return m_folder / name;
  }

  test::CTempFolder m_folder;
  CEngine m_engine;
};

TEST_F(Files, LengthChoosesThePrint) {
  struct Case {
    const char* name;
    std::vector<float> samples;
    bool isLong;
    size_t values;  // a band
  };
  const auto late = [](double seconds) {
    std::vector<float> samples(15 * kRate, 0.0F);
    const std::vector<float> sound = Steady(seconds);
    samples.insert(samples.end(), sound.begin(), sound.end());
    return samples;
  };
  std::vector<float> justShort = Steady(30);
  justShort.pop_back();
  const std::array<Case, 5> cases = {{{"30s.wav", Steady(30), true, 314},
                                      {"short.wav", justShort, false, 643},
                                      {"late.wav", late(25), false, 536},
                                      // Cut at its start, then read on to a full minute.
                                      {"minutes.wav", late(100), true, 637},
                                      {"tiny.wav", Steady(0.3), false, 4}}};
  for (const Case& c : cases) {
    const std::string path = Wav(c.name, c.samples);
    ASSERT_TRUE(m_engine.m_comparer.PrepareFile(path, 0, kAll)) << c.name;
    const AudioEntry entry = m_engine.Entry(path);
    EXPECT_EQ(entry.info->format, wire::kPcm);
    EXPECT_EQ(bool(entry.spectrum), c.isLong) << c.name;
    EXPECT_EQ(bool(entry.bark), c.isLong) << c.name;
    EXPECT_EQ(bool(entry.correlogram), !c.isLong) << c.name;
    if (entry.bark) {
      EXPECT_EQ(size_t(entry.bark->length), c.values) << c.name;
    }
    if (entry.correlogram) {
      // The start of the sound is found to a few hundredths of a second.
      EXPECT_NEAR(double(entry.correlogram->values.size()) / 23, double(c.values), 2) << c.name;
    }
  }
}

TEST_F(Files, FilesWithoutPrintsAreNotFiled) {
  test::WriteAll(m_folder / "text.txt", "no sound at all");
  for (const std::string& path :
       {Wav("silent.wav", std::vector<float>(30 * kRate, 0.0F)), Wav("click.wav", Steady(0.2)),
        m_folder / "text.txt", m_folder / "missing.wav"}) {
    EXPECT_FALSE(m_engine.m_comparer.AddFile(path, 0)) << path;
  }
  EXPECT_EQ(m_engine.m_store.EntryCount(), 0U);
  // With no print asked for, the same files count by their tags.
  m_engine.m_settings.Configure(true, false, false, true, true, 0.75F, 1, 1, 0.7F);
  EXPECT_TRUE(m_engine.m_comparer.AddFile(m_folder / "silent.wav", 0));
  EXPECT_TRUE(m_engine.m_comparer.AddFile(m_folder / "click.wav", 0));
  EXPECT_EQ(m_engine.m_store.EntryCount(), 2U);
}

TEST_F(Files, FreshFileIsNotDecodedAgain) {
  const std::string path = Wav("a.wav", Steady(32));
  ASSERT_TRUE(m_engine.m_cache.Load(m_folder / "cache.dat"));
  ASSERT_TRUE(m_engine.m_comparer.PrepareFile(path, 1, kAll & ~CAudioComparer::kBark));
  const AudioEntry first = m_engine.Entry(path);
  EXPECT_FALSE(first.bark);
  m_engine.m_store.ResetScanState();
  ASSERT_TRUE(m_engine.m_comparer.PrepareFile(path, 1, kAll));
  const AudioEntry second = m_engine.Entry(path);
  ASSERT_TRUE(second.bark);
  EXPECT_EQ(second.info, first.info);
  EXPECT_EQ(second.spectrum, first.spectrum);

  // The next start of the program, with no decoder: all is in the cache file.
  CEngine later("/no decoder");
  later.m_cache.SetClient(CacheRecordType::kAudio, &later.m_store);
  ASSERT_TRUE(later.m_cache.Load(m_folder / "cache.dat"));
  EXPECT_TRUE(later.m_comparer.PrepareFile(path, 2, kAll));
  const AudioEntry third = later.Entry(path);
  EXPECT_EQ(third.group, 2U);
  EXPECT_TRUE(third.keys && third.spectrum && third.bark);
  EXPECT_FALSE(later.m_comparer.PrepareFile(path, 2, kAll));  // already in this scan

  // A new time makes every part that is asked for stale.
  const std::array<timeval, 2> times = {{{1000000000, 0}, {1000000000, 0}}};
  ASSERT_EQ(utimes(path.c_str(), times.data()), 0);
  later.m_store.ResetScanState();
  EXPECT_FALSE(later.m_comparer.PrepareFile(path, 2, kAll));
  m_engine.m_store.ResetScanState();
  ASSERT_TRUE(m_engine.m_comparer.PrepareFile(path, 2, kAll & ~CAudioComparer::kBark));
  const AudioEntry fourth = m_engine.Entry(path);
  EXPECT_EQ(fourth.info->modified, 1000000000U);
  EXPECT_FALSE(fourth.spectrum == first.spectrum);
  EXPECT_EQ(fourth.bark, second.bark);
}

TEST_F(Files, ShortFileInPlaceOfALongOneHasNoPrintsOfIt) {
  const std::string path = Wav("a.wav", Steady(32));
  ASSERT_TRUE(m_engine.m_comparer.PrepareFile(path, 0, kAll));
  ASSERT_TRUE(m_engine.Entry(path).spectrum);
  Wav("a.wav", Steady(5));
  m_engine.m_store.ResetScanState();
  ASSERT_TRUE(m_engine.m_comparer.PrepareFile(path, 0, kAll));
  const AudioEntry entry = m_engine.Entry(path);
  EXPECT_FALSE(entry.spectrum || entry.bark);
  EXPECT_TRUE(entry.keys && entry.correlogram);
}

TEST_F(Files, SameSoundIsFoundInOtherFormats) {
  const std::string wav = m_folder / "one.wav";
  const std::vector<float> music = test::Music(1, 45, 44100, 1);
  test::WriteWav(wav, music, 44100, 1);
  const std::string mp3 = m_folder / "two.mp3";
  test::Encode(wav, mp3, "-b:a 128k -metadata title=First");
  const std::string ogg = m_folder / "three.ogg";
  test::Encode(wav, ogg, "-ar 48000 -ac 2 -metadata title=Second");
  // The same recording, a little later into the file and with a lead-in.
  std::vector<float> shifted(44100, 0.0F);
  shifted.insert(shifted.end(), music.begin() + 44100 * 4, music.end());
  const std::string flac = m_folder / "four.flac";
  test::WriteWav(m_folder / "shifted.wav", shifted, 44100, 1);
  test::Encode(m_folder / "shifted.wav", flac);
  std::vector<std::string> others;
  for (const uint32_t seed : {2U, 3U, 4U}) {
    others.push_back(m_folder / ("other" + std::to_string(seed) + ".wav"));
    test::WriteWav(others.back(), test::Music(seed, 40, 44100, 1), 44100, 1);
  }

  for (const std::string& path : {wav, mp3, ogg, flac, others[0], others[1], others[2]})
    ASSERT_TRUE(m_engine.m_comparer.AddFile(path, 0)) << path;
  EXPECT_EQ(m_engine.Entry(mp3).info->title, "First");
  for (const auto& [first, second] : {std::pair{mp3, wav}, {ogg, wav}, {ogg, mp3}}) {
    const Pair* pair = m_engine.PairOf(first, second);
    ASSERT_TRUE(pair) << first << " " << second;
    EXPECT_GT(pair->content, 0.9F) << first << " " << second;
    EXPECT_GT(pair->precise, 0.6F) << first << " " << second;
  }
  for (const std::string& path : {wav, mp3, ogg}) {
    const Pair* pair = m_engine.PairOf(flac, path);
    ASSERT_TRUE(pair) << path;
    EXPECT_GT(pair->precise, 0.5F) << path;
  }
  for (const Pair& pair : m_engine.m_sink.m_pairs) {
    EXPECT_EQ(pair.first.find("other"), std::string::npos)
        << pair.first << " " << pair.second << " " << pair.tags << " " << pair.content << " "
        << pair.precise;
  }
}

TEST_F(Files, ShortTwinsAreFoundByTheCorrelogramAlone) {
  m_engine.m_settings.Configure(false, false, true, true, true, 1, 1, 0.5F, 0.7F);
  const std::vector<float> music = test::Music(5, 12, 44100, 1);
  test::WriteWav(m_folder / "a.wav", music, 44100, 1);
  test::WriteWav(m_folder / "b.wav", music, 44100, 1);
  test::WriteWav(m_folder / "c.wav", test::Music(6, 12, 44100, 1), 44100, 1);
  for (const char* name : {"a.wav", "b.wav", "c.wav"})
    EXPECT_TRUE(m_engine.m_comparer.AddFile(m_folder / name, 0)) << name;
  ASSERT_EQ(m_engine.m_sink.m_pairs.size(), 1U);
  EXPECT_NEAR(m_engine.m_sink.m_pairs[0].precise, 1, 1e-3);
}

}  // namespace
}  // namespace quill
