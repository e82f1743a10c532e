// SPDX-License-Identifier: GPL-3.0-or-later
// One precise pair of full length: the target's data are at hand, the candidate's are made, both
// sweeps run. Measured against plain loops in float, best of interleaved rounds.
#include "audio/precise.h"

#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace quill;

double Microseconds(auto work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
      .count();
}

struct PlainBand {
  std::vector<float> series, means, invdev;
};
using PlainData = std::array<PlainBand, kBarkBands>;

void PlainPrecalculate(const BarkPrint& print, PlainData* data) {
  const int32_t count = print.length - kBarkPattern + 1;
  for (int32_t b = 0; b < kBarkBands; ++b) {
    PlainBand& band = (*data)[b];
    band.series.assign(print.Band(b), print.Band(b) + print.length);
    band.means.resize(count);
    band.invdev.resize(count);
    float sum = 0, square = 0;
    for (int32_t i = 0; i < kBarkPattern; ++i) {
      sum += band.series[i];
      square += band.series[i] * band.series[i];
    }
    for (int32_t k = 0; k < count; ++k) {
      const float mean = sum / kBarkPattern;
      band.means[k] = mean;
      band.invdev[k] = 1 / std::sqrt(std::max(square / kBarkPattern - mean * mean, 1e-6f));
      if (k + 1 == count) break;
      const float out = band.series[k], in = band.series[k + kBarkPattern];
      sum = (sum - out) + in;
      square = (square - out * out) + in * in;
    }
  }
}

SweepResult PlainSweep(const PlainData& a, const PlainData& b) {
  const size_t middle = (b[0].series.size() - kBarkPattern) / 2;
  std::vector<float> curve(a[0].means.size());
  SweepResult result;
  for (int32_t band = 0; band < kBarkBands; ++band) {
    const float* pattern = b[band].series.data() + middle;
    float peak = 0;
    for (size_t k = 0; k < curve.size(); ++k) {
      float dot = 0;
      for (int32_t i = 0; i < kBarkPattern; ++i) dot += pattern[i] * a[band].series[i + k];
      const float r = (dot / kBarkPattern - a[band].means[k] * b[band].means[middle]) *
                      a[band].invdev[k] * b[band].invdev[middle];
      const float value = std::clamp(r, 0.0f, 1.0f);
      curve[k] += value;
      peak = std::max(peak, value);
    }
    result.peakMean += peak / kBarkBands;
  }
  result.curvePeak = *std::max_element(curve.begin(), curve.end()) / kBarkBands;
  return result;
}

float PlainScore(const PlainData& target, const PlainData& candidate) {
  const SweepResult first = PlainSweep(target, candidate), second = PlainSweep(candidate, target);
  const float s = first.curvePeak + second.curvePeak, m = first.peakMean + second.peakMean;
  return m > 1e-6 ? s * 0.5f * (s / m) : 0;
}

}  // namespace

int main() {
  std::mt19937 random(1);
  BarkPrint prints[2];
  for (BarkPrint& print : prints) {
    print.length = kBarkLongest;
    for (int32_t b = 0; b < kBarkBands; ++b)
      std::generate_n(print.Band(b), print.length, [&] { return static_cast<uint8_t>(random()); });
  }
  const auto target = std::make_unique<BarkData>(), candidate = std::make_unique<BarkData>();
  const auto plainTarget = std::make_unique<PlainData>(),
             plainCandidate = std::make_unique<PlainData>();
  PlainPrecalculate(prints[0], plainTarget.get());
  if (!Precalculate(prints[0], target.get())) return 1;

  // The first variant is the one that the program uses here; the others stand for lesser
  // processors.
  bool equal = true;
  for (int64_t left = hwy::SupportedTargets() & ~HWY_EMU128; left != 0; left &= left - 1) {
    hwy::SetSupportedTargetsForTest(left & -left);
    hwy::GetChosenTarget().DeInit();
    double best = 1e9, plain = 1e9;
    float score = 0, plainScore = 0;
    for (int round = 0; round < 40; ++round) {
      plain = std::min(plain, Microseconds([&] {
                         PlainPrecalculate(prints[1], plainCandidate.get());
                         plainScore = PlainScore(*plainTarget, *plainCandidate);
                       }));
      for (int i = 0; i < 10; ++i)
        best = std::min(best, Microseconds([&] {
                          if (Precalculate(prints[1], candidate.get()))
                            score = ScoreBarks(*target, *candidate);
                        }));
    }
    std::printf("precise pair, %s: %.1f us, plain loops %.0f us, ratio 1/%.1f\n",
                hwy::TargetName(left & -left), best, plain, plain / best);
    equal &= std::fabs(score - plainScore) < 1e-4f;
  }
  return equal ? 0 : 1;
}
