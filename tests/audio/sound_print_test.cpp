// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/sound_print.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "audio/bark_bands.h"
#include "support/plain_moments.h"

namespace quill {
namespace {

CFloatVector Tone(double hertz, double amplitude, size_t count) {
  CFloatVector samples(count);
  const double step = 2 * std::numbers::pi * hertz / kPrintRate;
  for (size_t i = 0; i < count; ++i) samples[i] = float(amplitude * std::sin(step * double(i)));
  return samples;
}

CFloatVector Noise(uint32_t seed, float amplitude, size_t count) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> level(-amplitude, amplitude);
  CFloatVector samples(count);
  for (float& sample : samples) sample = level(random);
  return samples;
}

float MeanLevel(const CFloatVector& samples) {
  double sum = 0;
  for (const float sample : samples) sum += std::fabs(sample);
  return float(sum / double(samples.size()));
}

// The start by its definition, from sums over the whole ahead of each place.
size_t PlainStart(const CFloatVector& samples, float meanLevel) {
  std::vector<double> sums(samples.size() + 1, 0);
  for (size_t i = 0; i < samples.size(); ++i) sums[i + 1] = sums[i] + std::fabs(samples[i]);
  double bestRise = 0;
  size_t best = 0;
  for (size_t p = 11025; p < samples.size() && (best == 0 || p <= best + 22050 + 1); ++p) {
    const double current = sums[p] - sums[p - 11025];
    const double earlier = sums[p - 11025] - (p >= 22050 ? sums[p - 22050] : 0);
    const double rise = (current - earlier) * 9.0702946e-5;
    if (rise > bestRise && rise > 0.333 * meanLevel) {
      bestRise = rise;
      best = p;
    }
  }
  if (best) return best - 11025;
  size_t i = 0;
  while (i < samples.size() && samples[i] <= 0.1F * meanLevel) ++i;
  return i;
}

TEST(FindStart, EqualsItsDefinition) {
  std::mt19937 random(3);
  for (int round = 0; round < 30; ++round) {
    CFloatVector samples;
    while (samples.size() < 150000) {
      const float amplitude = random() % 3 ? 0 : float(random() % 100) / 100;
      const CFloatVector more = Noise(random(), amplitude, random() % 30000 + 1);
      samples.insert(samples.end(), more.begin(), more.end());
    }
    const float mean = MeanLevel(samples);
    EXPECT_EQ(CSoundPrint::FindStart(samples, mean), PlainStart(samples, mean)) << round;
  }
  // Sound from the first sample on keeps everything; an onset is found.
  CFloatVector tone = Tone(440, 0.5, 200000);
  EXPECT_EQ(CSoundPrint::FindStart(tone, MeanLevel(tone)), 0U);
  tone.insert(tone.begin(), 100000, 0.0F);
  EXPECT_NEAR(double(CSoundPrint::FindStart(tone, MeanLevel(tone))), 100000, 60);
  // Rises so slowly that no half second stands out from the one ahead of it.
  CFloatVector swell = Noise(7, 1, 1000000);
  for (size_t i = 0; i < swell.size(); ++i) swell[i] *= float(i) / 1e6F;
  const float mean = MeanLevel(swell);
  const size_t start = CSoundPrint::FindStart(swell, mean);
  EXPECT_GT(start, 0U);
  EXPECT_EQ(start, PlainStart(swell, mean));
  // Negative samples do not count: with nothing else there is no start.
  for (float& sample : swell) sample = -std::fabs(sample);
  EXPECT_EQ(CSoundPrint::FindStart(swell, mean), swell.size());
}

TEST(Bands, TileTheSpectrum) {
  const auto twelve = BinsOfBands(kBarkEdges, 2048);
  EXPECT_EQ(twelve[0].begin, 0U);
  EXPECT_EQ(twelve[0].end, 37U);  // 200 * 2048 / 11025 = 37.15
  EXPECT_EQ(twelve[11].end, 2048U);
  const auto fine = BinsOfBands(kCorrelogramEdges, 1024);
  EXPECT_EQ(fine[0].end, 9U);
  EXPECT_EQ(fine[22].begin, 882U);
  EXPECT_EQ(fine[22].end, 1024U);
}

TEST(BuildBarks, EqualsThePlainFormula) {
  constexpr size_t kBins = 2048;
  for (const size_t block : {size_t{4}, size_t{1}, size_t{3}}) {
    const size_t frames = 2 * block + 6;
    CFloatVector data = Noise(uint32_t(block), 1, frames * kBins);
    for (float& value : data) value = std::fabs(value) + 0.01F;
    std::array<CFloatVector, kBarkBands> out;
    EXPECT_FALSE(CSoundPrint::BuildBarks(data.data(), 2 * block * kBins - 1, kBins, block, &out));
    EXPECT_TRUE(CSoundPrint::BuildBarks(data.data(), 2 * block * kBins, kBins, block, &out));
    EXPECT_EQ(out[11].size(), 1U);
    ASSERT_TRUE(CSoundPrint::BuildBarks(data.data(), data.size(), kBins, block, &out));
    const auto bands = BinsOfBands(kBarkEdges, kBins);
    const auto sums = [&](size_t first, const auto& bins) {
      std::vector<double> total;
      for (size_t bin = bins.begin; bin < bins.end; ++bin) {
        total.push_back(0);
        for (size_t f = first; f < first + block; ++f) total.back() += data[f * kBins + bin];
      }
      return total;
    };
    for (size_t band = 0; band < bands.size(); ++band) {
      ASSERT_EQ(out[band].size(), frames - 2 * block + 1);
      for (size_t i = 0; i < out[band].size(); ++i) {
        const std::vector<double> a = sums(i, bands[band]), b = sums(i + block, bands[band]);
        EXPECT_NEAR(out[band][i], test::PlainMoments(a, b, a.size()).Pearson(), 2e-4)
            << block << " " << band << " " << i;
      }
    }
  }
}

TEST(CSoundPrint, SpectrumOfATone) {
  CSoundPrint sound;
  sound.SetSamples(Tone(22050.0 / 4096 * 300, 0.25, kLongSound + 5));
  CFloatVector spectrum, deflection, skeleton;
  ASSERT_TRUE(sound.CalculateFFTDeflection(&spectrum, &deflection));
  ASSERT_EQ(spectrum.size(), 2048U);
  EXPECT_EQ(std::max_element(spectrum.begin(), spectrum.end()) - spectrum.begin(), 299);
  // Bin number times the mean magnitude of a windowed sine, amplitude x N / 4.
  EXPECT_NEAR(spectrum[299], 300 * 0.25 * 4096 / 4, 100);
  for (const float value : deflection) EXPECT_NEAR(value, 1, 1e-4);
  ASSERT_TRUE(sound.CalculateSkeleton(&skeleton));
  ASSERT_EQ(skeleton.size(), 100U);
  for (const float value : skeleton) EXPECT_NEAR(value, 0.25 / std::sqrt(2.0), 1e-3);
}

TEST(CSoundPrint, DeflectionTellsWhereTheSoundChanges) {
  CFloatVector samples = Tone(500, 0.5, kLongSound * 6 / 11);
  const CFloatVector rest = Tone(3000, 0.5, kLongSound - samples.size());
  samples.insert(samples.end(), rest.begin(), rest.end());
  CSoundPrint sound;
  sound.SetSamples(samples);
  CFloatVector spectrum, deflection;
  ASSERT_TRUE(sound.CalculateFFTDeflection(&spectrum, &deflection));
  ASSERT_EQ(deflection.size(), 10U);
  for (size_t k = 0; k < 10; ++k) EXPECT_NEAR(deflection[k], k == 5 ? 0.1 : 0.9, 0.1001) << k;
}

TEST(CSoundPrint, SkeletonFollowsTheLoudness) {
  constexpr size_t kSpan = 6615;
  CFloatVector samples;
  for (int span = 0; span < 40; ++span) {
    const CFloatVector more = Noise(uint32_t(span), span % 2 ? 0.8F : 0.0F, kSpan);
    samples.insert(samples.end(), more.begin(), more.end());
  }
  samples.insert(samples.end(), 10, 0.5F);
  samples.insert(samples.end(), 10, -0.5F);  // a span cut short counts what it has
  CSoundPrint sound;
  sound.SetSamples(samples);
  CFloatVector skeleton;
  ASSERT_TRUE(sound.CalculateSkeleton(&skeleton));
  for (size_t span = 0; span < 40; ++span)
    EXPECT_NEAR(skeleton[span], span % 2 ? 0.8 / std::sqrt(3.0) : 0, 0.02) << span;
  EXPECT_NEAR(skeleton[40], 0.5, 1e-6);
  for (size_t span = 41; span < 100; ++span) EXPECT_EQ(skeleton[span], 0) << span;
}

TEST(CSoundPrint, BarkPrintHasOneValueAHop) {
  CSoundPrint sound;
  for (const auto& [samples, length] : {std::pair{kLongSound, 314}, {kMostSound, kBarkLongest}}) {
    sound.SetSamples(Noise(1, 0.5F, samples));
    BarkPrint print;
    ASSERT_TRUE(sound.AnalyseSound(&print));
    EXPECT_EQ(print.length, length);
    for (int32_t band = 0; band < kBarkBands; ++band) {
      const uint8_t* row = print.Band(band);
      EXPECT_EQ(*std::min_element(row, row + length), 0);
      EXPECT_EQ(*std::max_element(row, row + length), 255);
      for (int32_t i = length; i < kBarkStride; ++i) ASSERT_EQ(row[i], 0);
    }
  }
  sound.SetSamples(CFloatVector(kLongSound, 0.0F));
  BarkPrint flat;
  ASSERT_TRUE(sound.AnalyseSound(&flat));
  EXPECT_TRUE(std::all_of(flat.rows.begin(), flat.rows.end(), [](uint8_t b) { return b == 0; }));
  sound.SetSamples(CFloatVector(16000, 0.0F));
  EXPECT_FALSE(sound.AnalyseSound(&flat));
}

TEST(CSoundPrint, Correlogram) {
  CSoundPrint sound;
  CByteVector values(7);
  sound.SetSamples(Noise(1, 0.5F, 6143));
  EXPECT_FALSE(sound.CalculateCorrelogram(&values));
  EXPECT_TRUE(values.empty());
  sound.SetSamples(Noise(1, 0.5F, 6144));
  ASSERT_TRUE(sound.CalculateCorrelogram(&values));
  EXPECT_EQ(values.size(), size_t{23} * 4);

  // Noise for five seconds, then silence to the end.
  CFloatVector samples = Noise(2, 0.5F, size_t{5} * kPrintRate);
  samples.resize(kLongSound - 1, 0.0F);
  sound.SetSamples(samples);
  ASSERT_TRUE(sound.CalculateCorrelogram(&values));
  EXPECT_EQ(values.size(), size_t{23} * 643);
  for (size_t band = 0; band < 23; ++band) {
    const uint8_t* run = values.data() + band * 643;
    EXPECT_EQ(run[642], 255) << band;  // silence follows silence: a perfect match
    EXPECT_EQ(*std::min_element(run, run + 643), 0) << band;
  }

  sound.SetSamples(CFloatVector(size_t{10} * kPrintRate, 0.0F));
  ASSERT_TRUE(sound.CalculateCorrelogram(&values));
  EXPECT_EQ(values, CByteVector(size_t{23} * 213, 255));
}

}  // namespace
}  // namespace quill
