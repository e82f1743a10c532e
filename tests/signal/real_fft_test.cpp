// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/real_fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

#include "support/each_target.h"

namespace quill {
namespace {

std::vector<float> SineAtBin(size_t size, double bin, double amplitude) {
  std::vector<float> samples(size);
  for (size_t i = 0; i < size; ++i)
    samples[i] = static_cast<float>(
        amplitude * std::sin(2 * std::numbers::pi * bin * static_cast<double>(i) / double(size)));
  return samples;
}

TEST(RealFFT, TakesOnlyPowersOfTwoInItsRangeAndOnlyOnce) {
  for (const size_t size : {size_t{0}, size_t{1}, size_t{16}, size_t{33}, size_t{48}, size_t{4095},
                            size_t{131072}, size_t{1} << 40}) {
    CRealFFT fft;
    EXPECT_FALSE(fft.Init(size)) << size;
    EXPECT_EQ(fft.Size(), 0u);
    EXPECT_EQ(fft.Magnitude(), nullptr);
  }
  CRealFFT fft;
  ASSERT_TRUE(fft.Init(32));
  EXPECT_FALSE(fft.Init(64));
  EXPECT_EQ(fft.Size(), 32u);
  const std::vector<float> samples(64);
  EXPECT_FALSE(fft.Forward(samples.data(), 64));
  EXPECT_FALSE(fft.Forward(nullptr, 32));
}

TEST(RealFFT, MatchesADirectTransformOfTheWindowedSamples) {
  constexpr size_t kSize = 256;  // more than one vector of bins, and some over
  std::mt19937 random(5);
  std::uniform_real_distribution<float> uniform(-1, 1);
  std::vector<float> samples(kSize);
  for (float& x : samples) x = uniform(random);
  CRealFFT fft;
  ASSERT_TRUE(fft.Init(kSize));
  ASSERT_TRUE(fft.Forward(samples.data(), kSize));
  std::vector<double> expected;
  for (size_t bin = 0; bin <= kSize / 2; ++bin) {
    std::complex<double> sum = 0;
    for (size_t i = 0; i < kSize; ++i) {
      const double window =
          (1 - std::cos(2 * std::numbers::pi * static_cast<double>(i) / (kSize - 1))) / 2;
      sum += samples[i] * window *
             std::polar(1.0, -2 * std::numbers::pi * static_cast<double>(i * bin) / kSize);
    }
    expected.push_back(std::abs(sum));
  }
  test::EachTarget([&] {
    const float* magnitude = fft.Magnitude();
    ASSERT_NE(magnitude, nullptr);
    for (size_t bin = 0; bin <= kSize / 2; ++bin)
      EXPECT_NEAR(magnitude[bin], expected[bin], 1e-5) << bin;
  });
}

TEST(RealFFT, SineAtABinPeaksThereWithAQuarterOfTheLength) {
  for (size_t size = 64; size <= 65536; size *= 2) {
    CRealFFT fft;
    ASSERT_TRUE(fft.Init(size));
    const size_t bin = size / 5;
    ASSERT_TRUE(fft.Forward(SineAtBin(size, static_cast<double>(bin), 0.5).data(), size));
    const float* magnitude = fft.Magnitude();
    ASSERT_NE(magnitude, nullptr);
    const double expected = 0.5 * static_cast<double>(size) / 4;
    EXPECT_NEAR(magnitude[bin], expected, 0.03 * expected);
    EXPECT_NEAR(magnitude[bin - 1], expected / 2, 0.05 * expected);
    EXPECT_LT(magnitude[bin + 4], 0.01 * expected);
  }
}

// Plans are made under one lock and shared: many threads that start at once get the same spectra.
TEST(RealFFT, ThreadsShareAPlan) {
  constexpr size_t kSize = 1024;
  const std::vector<float> samples = SineAtBin(kSize, 100.5, 1);
  std::vector<std::vector<float>> spectra(8);
  {
    std::vector<std::jthread> threads;
    for (auto& spectrum : spectra)
      threads.emplace_back([&] {
        CRealFFT fft;
        if (!fft.Init(kSize)) return;
        for (int i = 0; i < 50; ++i)
          if (!fft.Forward(samples.data(), kSize)) return;
        const float* magnitude = fft.Magnitude();
        spectrum.assign(magnitude, magnitude + kSize / 2 + 1);
      });
  }
  ASSERT_EQ(spectra[0].size(), kSize / 2 + 1);
  EXPECT_GT(spectra[0][100], 100.0f);
  for (const auto& spectrum : spectra) EXPECT_EQ(spectrum, spectra[0]);
}

TEST(RealFFT, KeepsTheEnergyOfTheWindowedSamples) {
  constexpr size_t kSize = 4096;
  std::mt19937 random(6);
  std::normal_distribution<float> normal(0, 1);
  std::vector<float> samples(kSize);
  for (float& x : samples) x = normal(random);
  CRealFFT fft;
  ASSERT_TRUE(fft.Init(kSize));
  ASSERT_TRUE(fft.Forward(samples.data(), kSize));
  const float* magnitude = fft.Magnitude();
  double inTime = 0, inFrequency = 0;
  for (size_t i = 0; i < kSize; ++i) {
    const double x =
        samples[i] *
        (0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i) / (kSize - 1)));
    inTime += x * x;
  }
  for (size_t bin = 0; bin <= kSize / 2; ++bin)
    inFrequency += (bin % (kSize / 2) ? 2.0 : 1.0) * magnitude[bin] * magnitude[bin];
  EXPECT_NEAR(inFrequency / kSize, inTime, 1e-4 * inTime);
}

}  // namespace
}  // namespace quill
