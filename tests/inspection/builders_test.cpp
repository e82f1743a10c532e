// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <thread>

#include "core/configuration.h"
#include "core/log.h"
#include "decoding/decoder_table.h"
#include "inspection/sonogram_builder.h"
#include "inspection/spectrogram_builder.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

constexpr uint32_t kRate = 44100;
constexpr size_t kLength = 1024;
constexpr size_t kBins = kLength / 2 + 1;

class BuildersTest : public testing::Test {
 protected:
  BuildersTest() {
    std::signal(SIGPIPE, SIG_IGN);
    CConfiguration::Instance().SetStore(&m_store);
    CLog::Instance().SetFolder(m_folder / "log");
    CDecoderTable::Instance().Reload();
  }
  ~BuildersTest() override { CConfiguration::Instance().SetStore(nullptr); }

  std::string Wav(const std::vector<float>& samples, uint32_t channels,
                  test::WavType type = test::WavType::kFloat32) {
    std::string path = m_folder / ("sound" + std::to_string(++m_files) + ".wav");
    test::WriteWav(path, samples, kRate, channels, type);
    return path;
  }
  // The state that the run ends in.
  template <class Builder>
  static uint32_t Run(Builder& builder, const std::string& path, uint64_t overlap = 50,
                      uint64_t length = kLength) {
    std::atomic<int> calls = 0;
    builder.m_callback = [&] { ++calls; };
    EXPECT_TRUE(builder.Build(path, length, overlap));
    while (builder.GetState() == CSpectrumBuilder::kRunning || calls == 0)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    // The last call comes behind the change of state: none may follow the end of this function.
    const uint32_t state = builder.GetState();
    builder.Build(path, length, overlap);
    builder.Stop();
    builder.m_callback = nullptr;
    return state;
  }
  static double Decibel(float level) { return 20 * std::log10(static_cast<double>(level)); }

  test::CTempFolder m_folder;
  CMemorySettingsStore m_store;
  int m_files = 0;
};

TEST_F(BuildersTest, AFullScaleSineReadsMinusSixDecibelsAtItsBin) {
  // The gain of the window is not undone.
  const double frequency = 100.0 * kRate / kLength;
  const std::string path = Wav(test::Sine(frequency, 1, 2, kRate, 2), 2);
  CSpectrogramBuilder spectrogram;
  ASSERT_EQ(Run(spectrogram, path), CSpectrumBuilder::kFinished);
  spectrogram.Visit([](const CSpectrogramBuilder::Result& result) {
    EXPECT_EQ(result.sampleRate, kRate);
    for (size_t channel = 0; channel < 2; ++channel) {
      ASSERT_EQ(result.peaks[channel].size(), kBins);
      EXPECT_NEAR(Decibel(result.peaks[channel][100]), -6.02, 0.05);
      EXPECT_NEAR(Decibel(result.means[channel][100]), -6.02, 0.05);
      EXPECT_LT(Decibel(result.peaks[channel][300]), -80);
    }
    EXPECT_FLOAT_EQ(result.maxValue, std::max(result.peaks[0][100], result.peaks[1][100]));
  });
  CSonogramBuilder sonogram;
  ASSERT_EQ(Run(sonogram, path, 0), CSpectrumBuilder::kFinished);
  sonogram.Visit([](const CSonogramBuilder::Result& result) {
    EXPECT_EQ(result.valuesLen, kBins);
    EXPECT_EQ(result.step, kLength);
    EXPECT_EQ(result.FrameCount(), 1 + (2 * kRate - kLength) / kLength);
    EXPECT_NEAR(Decibel(result.values[1][3 * kBins + 100]), -6.02, 0.05);
  });
}

TEST_F(BuildersTest, WhiteNoiseIsFlatAndASweepDrawsALine) {
  std::mt19937 random(7);
  std::normal_distribution<float> normal(0, 0.1F);
  std::vector<float> noise(10 * kRate);
  for (float& sample : noise) sample = normal(random);
  CSpectrogramBuilder spectrogram;
  ASSERT_EQ(Run(spectrogram, Wav(noise, 1)), CSpectrumBuilder::kFinished);
  spectrogram.Visit([](const CSpectrogramBuilder::Result& result) {
    double sum = 0;
    for (size_t bin = 2; bin + 2 < kBins; ++bin) sum += Decibel(result.means[0][bin]);
    for (size_t bin = 2; bin + 2 < kBins; ++bin)
      EXPECT_NEAR(Decibel(result.means[0][bin]), sum / (kBins - 4), 1.5);
    EXPECT_TRUE(std::isnan(result.means[1][5])) << "a mono file has no second channel";
    EXPECT_EQ(result.peaks[1][5], 0);
  });

  std::vector<float> sweep(4 * kRate);
  double phase = 0;
  for (size_t i = 0; i < sweep.size(); ++i) {
    phase += 2 * M_PI * (1000 + 18000.0 * static_cast<double>(i) / sweep.size()) / kRate;
    sweep[i] = static_cast<float>(0.5 * std::sin(phase));
  }
  CSonogramBuilder sonogram;
  ASSERT_EQ(Run(sonogram, Wav(sweep, 1), 90), CSpectrumBuilder::kFinished);
  sonogram.Visit([](const CSonogramBuilder::Result& result) {
    EXPECT_TRUE(result.values[1].empty());
    for (size_t frame = 0; frame < result.FrameCount(); frame += 50) {
      const float* values = &result.values[0][frame * kBins];
      const auto loudest = std::max_element(values, values + kBins) - values;
      const double time = (static_cast<double>(frame * result.step) + kLength / 2.0) / kRate;
      EXPECT_NEAR(static_cast<double>(loudest), (1000 + 4500 * time) * kLength / kRate, 1.5);
    }
  });
}

TEST_F(BuildersTest, FilesThatGiveNoSpectrum) {
  const std::string brief = Wav(test::Sine(1000, 1, 0.01, kRate), 1);
  CSpectrogramBuilder spectrogram;
  ASSERT_EQ(Run(spectrogram, brief), CSpectrumBuilder::kFinished);
  spectrogram.Visit([](const CSpectrogramBuilder::Result& result) {
    EXPECT_EQ(result.peaks[0].size(), kBins);
    EXPECT_EQ(result.maxValue, 0);
    EXPECT_TRUE(std::isnan(result.means[0][0]));
  });
  const std::string six = Wav(test::Sine(1000, 1, 1, kRate, 6), 6, test::WavType::kSigned16);
  test::WriteAll(m_folder / "text.mp3", "no sound");
  for (const std::string& path : {six, m_folder / "text.mp3", m_folder / "gone.mp3"}) {
    EXPECT_EQ(Run(spectrogram, path), CSpectrumBuilder::kNoResult) << path;
    spectrogram.Visit([](const CSpectrogramBuilder::Result& result) {
      EXPECT_EQ(result.peaks[0].size(), kBins) << "the curves of the last run stay";
    });
  }
  CSonogramBuilder sonogram;
  EXPECT_EQ(Run(sonogram, brief), CSpectrumBuilder::kNoResult);
  EXPECT_EQ(Run(sonogram, six), CSpectrumBuilder::kNoResult);
  EXPECT_EQ(Run(sonogram, brief, 50, 100), CSpectrumBuilder::kNoResult) << "no power of two";
}

TEST_F(BuildersTest, StopsAndBeginsAnewInMidRun) {
  const std::string tall = Wav(test::Sine(1000, 1, 120, kRate, 2), 2, test::WavType::kSigned16);
  const std::string brief = Wav(test::Sine(100.0 * kRate / kLength, 1, 1, kRate), 1);
  CSpectrogramBuilder builder;
  std::atomic<int> calls = 0;
  builder.m_callback = [&] { ++calls; };
  ASSERT_TRUE(builder.Build(tall, kLength, 50));
  while (calls == 0) std::this_thread::yield();
  EXPECT_GE(builder.Progress(), 1000u);
  builder.Stop();
  EXPECT_LT(calls, 121) << "not all of the file was read";
  builder.Visit(
      [](const CSpectrogramBuilder::Result& result) { EXPECT_TRUE(result.peaks[0].empty()); });
  ASSERT_TRUE(builder.Build(tall, kLength, 50));
  ASSERT_EQ(Run(builder, brief), CSpectrumBuilder::kFinished);
  builder.Visit([](const CSpectrogramBuilder::Result& result) {
    EXPECT_NEAR(Decibel(result.peaks[0][100]), -6.02, 0.05);
  });
}

TEST_F(BuildersTest, ADecoderThatDiesEndsTheRunWithNoResult) {
  const std::string tall = Wav(test::Sine(1000, 1, 120, kRate, 2), 2, test::WavType::kSigned16);
  CSonogramBuilder builder;
  std::atomic<bool> ended = false;
  const std::string kill = "pkill -KILL -P " + std::to_string(getpid()) + " decoder";
  builder.m_callback = [&] {
    if (builder.GetState() == CSpectrumBuilder::kRunning)
      (void)!std::system(kill.c_str());
    else
      ended = true;
  };
  ASSERT_TRUE(builder.Build(tall, kLength, 0));
  while (!ended) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(builder.GetState(), CSpectrumBuilder::kNoResult);
  builder.Stop();
}

}  // namespace
}  // namespace quill
