// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/frequency_edge.h"

#include <numeric>

namespace quill {
namespace {

using Spectrum = std::span<const float, kEdgeBins>;

constexpr size_t kTop = kEdgeBins - 1;
constexpr uint64_t kHalfBins = 4 * kTop;  // steps of half a bin up to the sample rate
constexpr size_t kSide = 20;              // bins below and above a fall

// The first bin above the highest fall to half.
size_t LastFall(Spectrum peak) {
  constexpr double kLeastDivisor = 1e-6;
  constexpr size_t kLast = kEdgeBins - 2 * kSide;
  const auto sum = [&](size_t first) {
    return std::accumulate(peak.begin() + static_cast<ptrdiff_t>(first),
                           peak.begin() + static_cast<ptrdiff_t>(first + kSide), 0.0);
  };
  for (size_t k = kLast; k > 0; --k) {
    const double above = sum(k + kSide);
    if (above >= kLeastDivisor && sum(k) / above >= 2) return k == kLast ? kTop : k + kSide;
  }
  return kSide;
}

}  // namespace

uint64_t HighestFrequency(Spectrum peak, uint32_t sampleRate) {
  const double mean = std::accumulate(peak.begin(), peak.end(), 0.0) / kEdgeBins;
  const auto loud = static_cast<float>(0.1 * mean);
  const auto audible = static_cast<float>(0.0001 * mean);
  const size_t fall = LastFall(peak);
  size_t bin = kTop;
  bool noted = false;
  for (; bin > fall && !(peak[bin] >= loud); --bin) noted = noted || peak[bin] >= audible;
  if (!noted) {
    while (bin > 0 && peak[bin] < audible) --bin;
    if (bin == 0) return sampleRate / kHalfBins;
  }
  return bin == kTop ? sampleRate / 2 : (2 * bin + 1) * sampleRate / kHalfBins;
}

}  // namespace quill
