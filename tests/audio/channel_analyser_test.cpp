// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/channel_analyser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <random>
#include <tuple>
#include <vector>

#include "support/each_target.h"
#include "support/media_maker.h"

namespace quill {
namespace {

using Samples = std::vector<float>;

// What the decoder does to a file: short blocks at first, then long ones.
std::vector<size_t> DecoderBlocks(size_t count) {
  std::vector<size_t> blocks;
  for (size_t done = 0; done < count; done += blocks.back())
    blocks.push_back(std::min(count - done, blocks.empty() ? size_t{256} : size_t{262144}));
  return blocks;
}

// An analyser that has seen a whole file.
struct Analysed : CChannelAnalyser {
  Analysed(const Samples& samples, uint32_t rate, const std::vector<size_t>& blocks)
      : CChannelAnalyser(rate, Fft()) {
    size_t done = 0;
    for (const size_t block : blocks) {
      Add(samples.data() + done, block);
      done += block;
    }
    Finish();
    Spectra(&average, &peak);
  }
  Analysed(const Samples& samples, uint32_t rate)
      : Analysed(samples, rate, DecoderBlocks(samples.size())) {}

  static CRealFFT& Fft() {
    static CRealFFT fft;
    if (fft.Size() == 0) {
      EXPECT_TRUE(fft.Init(kTransform));
    }
    return fft;
  }
  AnalysisInfo::Spectrum average, peak;
};

// The counts by the plain formulas: every sample, every position, nothing skipped.
struct Plain {
  Plain(const Samples& samples, uint32_t rate, const std::vector<size_t>& blocks) {
    CountClipping(samples, blocks);
    CountSilences(samples, rate);
    CountClicks(samples);
  }

  void CountClipping(const Samples& samples, const std::vector<size_t>& blocks) {
    uint64_t run = 0;
    size_t i = 0;
    for (const size_t block : blocks) {
      const float limit = minStep * 5.0F;
      for (const size_t end = i + block; i < end; ++i) {
        const float a = std::fabs(samples[i]);
        if (i != 0 && samples[i] != samples[i - 1])
          minStep = std::min(minStep, std::fabs(samples[i] - samples[i - 1]));
        if (limit >= std::fabs(peak - a)) {
          peak = std::max(peak, a);
          if (run++ >= 2) ++clipping;
        } else {
          run = a > peak ? 1 : 0;
          if (run) clipping = 0;
          peak = std::max(peak, a);
        }
      }
    }
    if (peak == 0) clipping = 0;
  }

  void CountSilences(const Samples& samples, uint32_t rate) {
    const size_t span = size_t{rate} * 5;
    const auto level = [&](size_t i) { return double(std::fabs(samples[i])); };
    double first = 0, second = 0;
    int state = 0;
    for (size_t end = 1; end <= samples.size(); ++end) {
      second += level(end - 1);
      if (end > span) second -= level(end - 1 - span), first += level(end - 1 - span);
      if (end > 2 * span) first -= level(end - 1 - 2 * span);
      if (end < 2 * span) continue;
      const double ratio = end == 2 * span ? 100 : 10;
      const bool quiet = second < rate * 0.01 * 5 || first / second > ratio;
      if (!quiet && state == 2) ++silences;
      if (!quiet) state = 1;
      if (quiet && state == 1) state = 2;
    }
  }

  void CountClicks(const Samples& samples) {
    Samples values(samples.size());
    for (size_t i = 0; i < samples.size(); ++i)
      values[i] =
          std::fabs(samples[i] + (i > 1 ? samples[i - 2] : 0) - 2 * (i > 0 ? samples[i - 1] : 0));
    const auto max = [&](size_t from, size_t n) {
      return *std::max_element(values.begin() + ptrdiff_t(from),
                               values.begin() + ptrdiff_t(from + n));
    };
    for (size_t i = 0; i + 2020 <= values.size(); ++i) {
      const float middle = max(i + 1000, 20);
      if (middle <= 3e-5F) continue;
      if (middle / std::max(1e-6F, std::max(max(i, 1000), max(i + 1020, 1000))) <= 30) continue;
      ++clicks;
      i += 19;
    }
  }

  float peak = 0, minStep = 1;
  uint64_t clipping = 0, silences = 0, clicks = 0;
};

Samples Noise(double seconds, uint32_t rate, double level, uint32_t seed = 1) {
  std::mt19937 random(seed);
  Samples samples(static_cast<size_t>(seconds * rate));
  for (float& s : samples) s = float(level * (double(random()) / 2147483648.0 - 1));
  return samples;
}

void Append(const Samples& more, Samples* samples) {
  samples->insert(samples->end(), more.begin(), more.end());
}

Samples Rounded(Samples samples, float steps) {
  for (float& s : samples) s = std::round(s * steps) / steps;
  return samples;
}

TEST(ChannelAnalyser, EqualsThePlainFormulas) {
  constexpr uint32_t kLowRate = 800;  // 5 seconds are 4000 samples
  uint64_t seen = 0;
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    std::mt19937 random(seed);
    Samples samples;
    // Pieces of very different levels, some clipped, some with clicks: each border is a place where
    // a short cut could be wrong.
    while (samples.size() < 60000) {
      const double level = std::pow(10.0, -double(random() % 6));
      Samples piece = Noise(double(random() % 12000) / kLowRate, kLowRate, level, random());
      if (random() % 3 == 0)
        for (float& s : piece) s = std::clamp(s, float(-level / 2), float(level / 2));
      if (random() % 2 == 0)
        for (int click = 0; click < 5 && !piece.empty(); ++click)
          piece[random() % piece.size()] = float(level) * 50;
      Append(seed % 2 ? Rounded(piece, 32768) : piece, &samples);
    }
    std::vector<size_t> blocks;
    for (size_t left = samples.size(); left > 0; left -= blocks.back())
      blocks.push_back(std::min<size_t>(left, 1 + random() % (random() % 4 ? 300 : 9000)));
    const Plain plain(samples, kLowRate, blocks);
    test::EachTarget([&] {
      const Analysed is(samples, kLowRate, blocks);
      EXPECT_EQ(is.AbsMax(), plain.peak) << seed;
      EXPECT_EQ(is.MinStep(), plain.minStep) << seed;
      EXPECT_EQ(is.Clipping(), plain.clipping) << seed;
      EXPECT_EQ(is.Silences(), plain.silences) << seed;
      EXPECT_EQ(is.Clicks(), plain.clicks) << seed;
    });
    seen += std::min<uint64_t>(plain.clicks, 1) + std::min<uint64_t>(plain.silences, 1);
  }
  EXPECT_GT(seen, 12U);
}

// All but the clipped samples, whose limit follows the blocks.
TEST(ChannelAnalyser, ResultsDoNotRestOnTheBlocks) {
  constexpr uint32_t kRate = 8000;
  Samples samples = test::Music(3, 12, kRate, 1);
  Append(Samples(12 * kRate), &samples);
  samples[130000] = 0.1F;
  Append(test::Music(4, 6, kRate, 1), &samples);
  const Analysed whole(samples, kRate, {samples.size()});
  EXPECT_EQ(whole.Silences(), 1U);
  EXPECT_GE(whole.Clicks(), 1U);
  const auto results = [](const Analysed& a) {
    return std::tuple(a.Silences(), a.Clicks(), a.MinStep(), a.AbsMax(), a.MaxFreq(), a.average,
                      a.peak);
  };
  for (const size_t size : {1, 3, 100, 2047, 4097}) {
    std::vector<size_t> blocks;
    for (size_t left = samples.size(); left > 0; left -= blocks.back())
      blocks.push_back(std::min(left, size));
    const Analysed cut(samples, kRate, blocks);
    EXPECT_TRUE(results(cut) == results(whole)) << size;
    EXPECT_FLOAT_EQ(cut.AbsMean(), whole.AbsMean()) << size;
  }
}

TEST(ChannelAnalyser, ClippingIsOfRunsAtTheFinalPeak) {
  constexpr uint32_t kRate = 44100;
  // Of the first block alone, before which no step had been seen.
  EXPECT_LT(Analysed(Rounded(test::Sine(997, 1, 2, kRate), 32767), kRate).Clipping(), 256U);
  // A sine cut off at 0.5: the flat tops count, up to the moment of a louder sample.
  Samples clipped = test::Sine(100, 1, 2, kRate);
  for (float& s : clipped) s = std::clamp(s, -0.5F, 0.5F);
  const uint64_t before = Analysed(Rounded(clipped, 32768), kRate).Clipping();
  EXPECT_NEAR(double(before), 2 * 0.667 * kRate, 0.02 * kRate);
  clipped.back() = 0.9F;
  EXPECT_EQ(Analysed(Rounded(clipped, 32768), kRate).Clipping(), 0U);

  EXPECT_EQ(Analysed(Samples(100000), kRate).Clipping(), 0U);
}

TEST(ChannelAnalyser, ClicksAreShortBurstsFarAboveTheirSurroundings) {
  constexpr uint32_t kRate = 44100;
  struct Case {
    size_t width;
    float level;
    uint64_t clicks;
  };
  // The last two are too long for a click, and not loud enough.
  for (const Case c : {Case{1, 0.4F, 25}, {10, 0.2F, 25}, {60, 0.2F, 0}, {1, 0.001F, 0}}) {
    Samples samples = test::Sine(220, 0.3, 10, kRate);
    for (size_t n = 1; n <= 25; ++n)
      for (size_t i = 0; i < c.width; ++i) samples[n * 15000 + i] += i % 2 ? -c.level : c.level;
    EXPECT_EQ(Analysed(samples, kRate).Clicks(), c.clicks) << c.width << " " << c.level;
  }
}

TEST(ChannelAnalyser, OffsetStepAndPeak) {
  constexpr uint32_t kRate = 44100;
  Samples samples = test::Sine(440, 0.5, 20, kRate);
  for (float& s : samples) s -= 0.15F;
  EXPECT_NEAR(Analysed(samples, kRate).AbsMean(), 0.15, 1e-4);
  EXPECT_NEAR(Analysed(samples, kRate).AbsMax(), 0.65, 1e-3);
  EXPECT_EQ(Analysed(Rounded(samples, 128), kRate).MinStep(), 1.0F / 128);
  EXPECT_EQ(Analysed(Rounded(samples, 32768), kRate).MinStep(), 1.0F / 32768);
  EXPECT_EQ(Analysed(Samples(5000, 0.3F), kRate).MinStep(), 1);
  const Analysed nothing({}, kRate);
  EXPECT_EQ(nothing.AbsMean(), 0);
  EXPECT_EQ(nothing.AbsMax(), 0);
  EXPECT_EQ(nothing.MaxFreq(), kRate / 2);
}

// The steps of the search, each by a spectrum that leads there alone.
TEST(FrequencyEdge, Search) {
  using Spectrum = std::array<float, kEdgeBins>;
  constexpr uint32_t kRate = 44100;
  const auto find = [](const Spectrum& peak) { return HighestFrequency(peak, kRate); };
  const auto hz = [](uint64_t bin) { return (2 * bin + 1) * kRate / 8192; };
  Spectrum peak;
  peak.fill(1);
  EXPECT_EQ(find(peak), kRate / 2);
  peak.fill(0);
  EXPECT_EQ(find(peak), kRate / 2);

  // A fall to a low floor, which is heard: the last ratio of at least 2 is the edge. With 1000 over
  // 1 that is where the upper 20 bins still hold no more than 1 part in 2 of the lower.
  peak.fill(1);
  std::fill_n(peak.begin(), 1000, 1000.0F);
  EXPECT_EQ(find(peak), hz(1000 - 1 + 20));
  // A fall to exactly a half is one as well.
  peak.fill(1);
  std::fill_n(peak.begin(), 1000, 2.0F);
  std::fill_n(peak.begin(), 100, 1000.0F);
  EXPECT_EQ(find(peak), hz(1000));
  // A slope too gentle for an edge: down to what is a tenth of the mean.
  for (size_t bin = 0; bin < kEdgeBins; ++bin)
    peak[bin] = float(std::exp2(-double(std::max<size_t>(bin, 1000)) / 40));
  const float loud = 0.1F * std::accumulate(peak.begin(), peak.end(), 0.0F) / kEdgeBins;
  const auto last = std::find_if(peak.begin(), peak.end(), [&](float p) { return p < loud; });
  EXPECT_EQ(find(peak), hz(uint64_t(last - peak.begin()) - 1));
  // Silence behind the fall: on down to the last bin that is heard.
  peak.fill(0);
  std::fill_n(peak.begin(), 1000, 1000.0F);
  EXPECT_EQ(find(peak), hz(999));
  // A fall at the very top counts as none.
  peak.fill(1000);
  std::fill_n(peak.begin() + 2020, 29, 400.0F);
  EXPECT_EQ(find(peak), kRate / 2);
  // Nothing but a constant level.
  peak.fill(0);
  peak[0] = 1000;
  EXPECT_EQ(find(peak), kRate / 8192);
}

TEST(ChannelAnalyser, SpectraTellTheLevelOfEachBand) {
  constexpr uint32_t kRate = 44100;
  const auto byteOf = [](double db) { return (db + 150) / 150 * 255; };
  // A sine in the middle of band 8, at the middle of a bin: the window spreads it over 4 bins whose
  // magnitudes add up to half of 4096 times its amplitude. A band has 64 bins.
  const double frequency = 544.0 * kRate / 4096;
  Samples samples = test::Sine(frequency, 0.5, 1, kRate);
  const double db = 20 * std::log10(0.5 / 2 / 64);
  Analysed is(samples, kRate);
  EXPECT_NEAR(is.peak[8], byteOf(db), 1.5);
  EXPECT_NEAR(is.average[8], byteOf(db), 1.5);
  EXPECT_LT(is.peak[20], 60);
  // Half of the time silent: the average falls by 6 dB, the peak stays.
  Append(Samples(samples.size()), &samples);
  const Analysed half(samples, kRate);
  EXPECT_GE(half.peak[8], is.peak[8]);
  EXPECT_NEAR(half.average[8], byteOf(db - 6.02), 1.5);
  // Far above full scale, and nothing at all.
  for (float& s : samples) s *= 1e9F;
  EXPECT_EQ(Analysed(samples, kRate).peak[8], 255);
  EXPECT_EQ(Analysed(Samples(9000), kRate).peak[8], 0);
  EXPECT_EQ(Analysed(Samples(4095, 0.5F), kRate).average[0], 0);
}

// Noise without anything above `cutHz`, rounded to 16 bits as decoded sound is.
Samples LowNoise(double cutHz, uint32_t rate) {
  const Samples noise = Noise(4, rate, 0.5);
  constexpr int kSide = 200;
  Samples kernel(2 * kSide + 1);
  for (int i = -kSide; i <= kSide; ++i) {
    const double x = 2 * cutHz / rate * i;
    const double sinc = i == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
    const double window = 0.42 + 0.5 * std::cos(std::numbers::pi * i / kSide) +
                          0.08 * std::cos(2 * std::numbers::pi * i / kSide);
    kernel[size_t(i + kSide)] = float(2 * cutHz / rate * sinc * window);
  }
  Samples low(noise.size() - kernel.size());
  for (size_t i = 0; i < low.size(); ++i)
    for (size_t k = 0; k < kernel.size(); ++k) low[i] += kernel[k] * noise[i + k];
  return Rounded(low, 32768);
}

TEST(ChannelAnalyser, HighestFrequencyIsWhereTheSoundIsCutOff) {
  // The fall is found when it has left 20 bins behind it, and this filter has a slope of its own.
  for (const double cutHz : {8000.0, 16000.0, 19000.0}) {
    const double found = double(Analysed(LowNoise(cutHz, 44100), 44100).MaxFreq());
    EXPECT_GT(found, cutHz);
    EXPECT_LT(found, cutHz + 700);
  }
  EXPECT_NEAR(double(Analysed(LowNoise(5000, 22050), 22050).MaxFreq()), 5200, 150);
  EXPECT_EQ(Analysed(Noise(3, 44100, 0.5), 44100).MaxFreq(), 22050U);
  EXPECT_EQ(Analysed(Noise(3, 22050, 0.5), 22050).MaxFreq(), 11025U);
  EXPECT_EQ(Analysed(Samples(50000), 44100).MaxFreq(), 22050U);
  EXPECT_EQ(Analysed(Noise(0.09, 44100, 0.5), 44100).MaxFreq(), 22050U);  // no whole frame
}

}  // namespace
}  // namespace quill
