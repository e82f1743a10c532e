// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/audio_analyser.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <limits>
#include <random>
#include <vector>

#include "support/media_maker.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

constexpr uint32_t kRate = 44100;

class CCollector : public CAnalysisSink {
 public:
  bool LockedAdd(const CRef<const AnalysisInfo>& info) override {
    m_added.push_back(info);
    return true;
  }
  std::vector<CRef<const AnalysisInfo>> m_added;
};

// A worker's engine with a store of its own. `program` is the decoder, by default the real one.
struct Engine {
  explicit Engine(std::string program = {}) : link(table, std::move(program)) { table.Reload(); }
  CDecoderTable table;
  CProcessLink link;
  CAudioDecoder decoder{link};
  CCacheStore cache;
  CAnalysisStore store{cache};
  CIgnoreList ignores;
  CCollector sink;
  CAudioAnalyser analyser{decoder, store, ignores, sink};
};

using Samples = std::vector<float>;

Samples Stereo(const Samples& left, const Samples& right) {
  Samples both;
  both.reserve(2 * left.size());
  for (size_t i = 0; i < left.size(); ++i) {
    both.push_back(left[i]);
    both.push_back(right[i]);
  }
  return both;
}

// Music with a bed of noise of changing level: something at every frequency, as in a dense mix. It
// fades in and out, as an encoder lets more through where the sound breaks off.
Samples DenseMusic(double seconds) {
  Samples samples = test::Music(7, seconds, kRate);
  std::mt19937 random(7);
  float level = 0;
  for (size_t i = 0; i < samples.size(); ++i) {
    if (i % 8192 == 0) level = 0.005F + 0.02F * float(random()) / 4294967296.0F;
    samples[i] += level * (float(random()) / 2147483648.0F - 1);
  }
  for (size_t i = 0; i < kRate; ++i) {
    const float fade = float(i) / kRate;
    samples[i] *= fade;
    samples[samples.size() - 1 - i] *= fade;
  }
  return samples;
}

class AudioAnalyser : public testing::Test {
 protected:
  // As the application does: a decoder that dies must not take us along.
  static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); }

  std::string Wav(const std::string& name, const Samples& samples, uint32_t channels = 1,
                  uint32_t rate = kRate, test::WavType type = test::WavType::kSigned16) {
    test::WriteWav(m_folder / name, samples, rate, channels, type);
    return m_folder / name;
  }
  // What the analysis of a file hands on; an empty record after a failed test.
  CRef<const AnalysisInfo> Analyse(const std::string& path) {
    const size_t before = m_engine.sink.m_added.size();
    EXPECT_TRUE(m_engine.analyser.Process(path)) << path;
    if (m_engine.sink.m_added.size() != before + 1) {
      ADD_FAILURE() << path;
      return MakeRef<AnalysisInfo>();
    }
    EXPECT_EQ(m_engine.sink.m_added.back(), m_engine.store.Find(path));
    return m_engine.sink.m_added.back();
  }

  test::CTempFolder m_folder;
  Engine m_engine;
};

TEST_F(AudioAnalyser, KnownSignalsThroughTheDecoder) {
  Samples clicks = test::Sine(220, 0.3, 60, kRate);
  std::fill_n(clicks.begin() + 20 * kRate, 20 * kRate, 0.0F);
  for (size_t n = 1; n <= 25; ++n) clicks[n * 30000] += 0.5F;
  const auto info = Analyse(Wav("clicks.wav", Stereo(clicks, test::Sine(220, 0.3, 60, kRate)), 2));
  EXPECT_EQ(info->clicks, 25);
  EXPECT_EQ(info->silence, 1);
  EXPECT_EQ(info->channels, 2);
  EXPECT_EQ(info->durationMs, 60000U);
  EXPECT_EQ(info->sampleRate, kRate);
  EXPECT_EQ(info->format, wire::kPcm);
  EXPECT_EQ(info->dataFormat, wire::kSigned16);

  const Samples music = test::Music(2, 12, kRate, 1);
  // Mono comes as float, and tells the same.
  for (const uint32_t channels : {2U, 1U})
    EXPECT_EQ(Analyse(Wav("8bit.wav", channels == 2 ? Stereo(music, music) : music, channels, kRate,
                          test::WavType::kUnsigned8))
                  ->minStep,
              1.0F / 128);
  const auto mono = Analyse(Wav("mono.wav", music));
  EXPECT_EQ(mono->minStep, 1.0F / 32768);
  EXPECT_EQ(mono->channels, 1);

  const auto half = Analyse(Wav("22k.wav", test::Music(2, 12, 22050, 1), 1, 22050));
  EXPECT_EQ(half->sampleRate, 22050U);
  EXPECT_GT(half->maxFreq, 10000);
  EXPECT_LE(half->maxFreq, 11025);

  // Shorter than one transform.
  const auto tiny = Analyse(Wav("tiny.wav", test::Sine(440, 0.5, 0.05, kRate)));
  EXPECT_EQ(tiny->durationMs, 50U);
  EXPECT_EQ(tiny->maxFreq, kRate / 2);
  EXPECT_EQ(tiny->silence, 0);
  EXPECT_EQ(tiny->averageSpectrum, AnalysisInfo::Spectrum{});
}

TEST_F(AudioAnalyser, ChannelsAreMerged) {
  Samples left = test::Sine(220, 0.3, 15, kRate);
  for (size_t n = 1; n <= 5; ++n) left[n * 60000] += 0.5F;
  for (size_t i = 200000; i < 200100; ++i) left[i] = 0.9F;
  const auto alone = Analyse(Wav("left.wav", Stereo(left, left), 2));
  const Samples silent(left.size());
  const auto merged = Analyse(Wav("half.wav", Stereo(left, silent), 2));
  EXPECT_EQ(merged->absMax, 0);
  EXPECT_GT(merged->clicks, 4);
  EXPECT_EQ(2 * merged->clicks, alone->clicks);
  EXPECT_GE(merged->clipping, 90);
  EXPECT_EQ(2 * merged->clipping, alone->clipping);
  EXPECT_EQ(merged->minStep, 1);  // the silent channel's
  for (size_t band = 0; band < 32; ++band)
    EXPECT_EQ(merged->peakSpectrum[band], alone->peakSpectrum[band] / 2) << band;

  Samples right = test::Sine(220, 0.2, 15, kRate);
  for (float& s : right) s -= 0.1F;
  const auto both = Analyse(Wav("both.wav", Stereo(left, right), 2));
  EXPECT_NEAR(both->absMean, 0.1, 1e-3);
  EXPECT_NEAR(both->absMax, 0.3, 1e-3);
}

// The cut-off that an encoder leaves, also in a lossless copy of what it made.
TEST_F(AudioAnalyser, LossyCutOffIsFoundAlsoInItsLosslessCopy) {
  const std::string wav = Wav("dense.wav", DenseMusic(20), 2);
  EXPECT_EQ(Analyse(wav)->maxFreq, kRate / 2);
  struct Case {
    const char* name;
    const char* options;
    double cutHz;
  };
  // Where the encoders' own filters end: LAME's transition bands, and the scale factor band in
  // which the bandwidth of the AAC encoder lies.
  const std::array<Case, 4> cases = {{{"64.mp3", "-b:a 64k", 11226},
                                      {"128.mp3", "-b:a 128k", 17071},
                                      {"192.mp3", "-b:a 192k", 19205},
                                      {"96.m4a", "-c:a aac -b:a 96k", 17226}}};
  for (const Case& c : cases) {
    const std::string lossy = m_folder / c.name;
    const std::string copy = lossy + ".flac";
    test::Encode(wav, lossy, c.options);
    test::Encode(lossy, copy, "-sample_fmt s16");
    const auto first = Analyse(lossy);
    const auto second = Analyse(copy);
    EXPECT_NEAR(first->maxFreq, c.cutHz, 700) << c.name;
    EXPECT_NEAR(second->maxFreq, first->maxFreq, 22) << c.name;
    EXPECT_EQ(second->format, wire::kFlac);
    EXPECT_NEAR(double(second->durationMs), double(first->durationMs), 60) << c.name;
  }
}

TEST_F(AudioAnalyser, TagsAndTheTrueBitrate) {
  const std::string wav = Wav("a.wav", test::Music(5, 10, kRate), 2);
  const std::string mp3 = m_folder / "a.mp3";
  test::Encode(wav, mp3,
               "-b:a 128k -metadata title=' One ' -metadata artist=Two -metadata album=Six");
  const auto lossy = Analyse(mp3);
  EXPECT_EQ(lossy->title, "One");
  EXPECT_EQ(lossy->artist, "Two");
  EXPECT_EQ(lossy->album, "Six");
  EXPECT_EQ(lossy->format, wire::kMp3);
  EXPECT_EQ(lossy->size, std::filesystem::file_size(mp3));
  EXPECT_NEAR(lossy->bitrate, 128000, 1300);
  EXPECT_EQ(Analyse(wav)->bitrate, 16U * 2 * kRate);
  // A file that is mostly no sound at all: its sound's own rate is no measure of it.
  const std::string padded = m_folder / "padded.wav";
  test::WriteAll(padded, test::ReadAll(wav) + std::string(3000000, '\0'));
  const auto odd = Analyse(padded);
  EXPECT_EQ(odd->bitrate, odd->size * 8 / (odd->durationMs / 1000));
}

TEST_F(AudioAnalyser, UnchangedFileIsNotDecodedAgain) {
  const std::string path = Wav("a.wav", test::Sine(440, 0.25, 2, kRate));
  ASSERT_TRUE(m_engine.cache.Load(m_folder / "cache.dat"));
  const auto first = Analyse(path);
  EXPECT_EQ(Analyse(path), first);

  // The next start of the program, with no decoder: all is in the cache file.
  Engine later("/no decoder");
  later.cache.SetClient(CacheRecordType::kAnalysis, &later.store);
  ASSERT_TRUE(later.cache.Load(m_folder / "cache.dat"));
  EXPECT_TRUE(later.analyser.Process(path));
  ASSERT_EQ(later.sink.m_added.size(), 1U);
  EXPECT_EQ(later.store.GetCache(*first), later.sink.m_added[0]);

  const std::array<timeval, 2> times = {{{1000000000, 0}, {1000000000, 0}}};
  ASSERT_EQ(utimes(path.c_str(), times.data()), 0);
  EXPECT_FALSE(later.analyser.Process(path));
  EXPECT_TRUE(later.store.Find(path));  // what was stored stays
  const auto second = Analyse(path);
  EXPECT_FALSE(second == first);
  EXPECT_EQ(second->modified, 1000000000U);

  std::filesystem::remove(path);
  EXPECT_FALSE(m_engine.analyser.Process(path));
}

TEST_F(AudioAnalyser, FilesThatAreNotAnalysed) {
  test::WriteAll(m_folder / "text.txt", "no sound at all");
  const Samples six(6 * 4410, 0.25F);
  for (const std::string& path :
       {m_folder / "text.txt", m_folder / "missing.wav", m_folder.Path(), Wav("six.wav", six, 6)})
    EXPECT_FALSE(m_engine.analyser.Process(path)) << path;
  const std::string ignored = Wav("ignored.wav", test::Sine(440, 0.25, 1, kRate));
  ASSERT_TRUE(m_engine.analyser.Process(ignored));
  m_engine.ignores.AddIgnore(ignored);
  EXPECT_FALSE(m_engine.analyser.Process(ignored));
  EXPECT_EQ(m_engine.sink.m_added.size(), 1U);
  EXPECT_EQ(m_engine.store.RecordCount(), 1U);
  // The link is none the worse for what it refused.
  EXPECT_TRUE(m_engine.analyser.Process(Wav("fine.wav", test::Sine(440, 0.25, 1, kRate))));
}

TEST_F(AudioAnalyser, FloatsThatAreNoNumbers) {
  Samples samples = test::Sine(440, 0.25, 12, kRate);
  for (size_t i = 1000; i < samples.size(); i += 1000)
    samples[i] =
        i % 2000 ? std::numeric_limits<float>::quiet_NaN() : std::numeric_limits<float>::infinity();
  const auto info =
      Analyse(Wav("odd.wav", Stereo(samples, samples), 2, kRate, test::WavType::kFloat32));
  EXPECT_EQ(info->dataFormat, wire::kFloat32);
  EXPECT_NEAR(info->absMean, 0, 1e-3);
  EXPECT_NEAR(info->absMax, 0.25, 1e-3);
  for (float& s : samples) s = s > 0 ? 3e38F : -3e38F;
  const auto huge =
      Analyse(Wav("huge.wav", Stereo(samples, samples), 2, kRate, test::WavType::kFloat32));
  for (const float value : {huge->clipping, huge->silence, huge->absMean, huge->minStep,
                            huge->absMax, huge->maxFreq, huge->clicks})
    EXPECT_TRUE(std::isfinite(value)) << value;
}

}  // namespace
}  // namespace quill
