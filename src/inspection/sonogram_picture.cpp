// SPDX-License-Identifier: GPL-3.0-or-later
#include "inspection/sonogram_picture.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

#include "inspection/level_scale.h"
#include "signal/vector_ops.h"

namespace quill {

namespace {

constexpr uint32_t kBlack = 0xFF000000;
// Columns that are painted side by side: a row of them is one cache line.
constexpr size_t kTile = 16;
constexpr double kLogarithmicSpan = 101;

// The colour of a level is looked up by its exponent and the upper bits of its mantissa, 256 steps
// to the octave: finer than two neighbouring colours lie apart. A logarithm a pixel would take
// longer than all the rest, and keep the processor from fetching the next levels meanwhile.
constexpr int kLowerBits = 15;
constexpr uint32_t kLeast = std::bit_cast<uint32_t>(kLeastLevel) >> kLowerBits;
constexpr uint32_t kGreatest = std::bit_cast<uint32_t>(1.0F) >> kLowerBits;
using ColourTable = std::array<uint32_t, kGreatest - kLeast + 1>;

const ColourTable& Colours() {
  static const ColourTable kTable = [] {
    ColourTable table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
      const uint32_t middle = (kLeast + i) << kLowerBits | 1U << (kLowerBits - 1);
      table[i] = SonogramColour(std::min(DecibelFraction(std::bit_cast<float>(middle)), 1.0));
    }
    return table;
  }();
  return kTable;
}

uint32_t ColourOf(const ColourTable& colours, float level) {
  if (!(level > kLeastLevel)) return kBlack;  // or no number
  return colours[(std::bit_cast<uint32_t>(std::min(level, 1.0F)) >> kLowerBits) - kLeast];
}

// Short stretches are quicker in a plain loop.
constexpr size_t kVectorLength = 16;

float LargestOf(const float* levels, size_t count) {
  float largest = 0;
  if (count < kVectorLength)
    for (size_t i = 0; i < count; ++i) largest = std::max(largest, levels[i]);
  else
    (void)VecMax(levels, static_cast<int32_t>(count), &largest);
  return largest;
}

}  // namespace

uint32_t SonogramColour(double fraction) {
  const auto byte = [](double value) {
    return static_cast<uint32_t>(std::clamp(value, 0.0, 1.0) * 255);
  };
  if (fraction >= 0.5) return kBlack | byte((fraction - 0.5) * 2) << 16 | byte((1 - fraction) * 2);
  return kBlack | byte(fraction * 2);
}

double SonogramScale(double height, bool logarithmic) {
  return logarithmic ? (std::exp(height * std::log(kLogarithmicSpan)) - 1) / (kLogarithmicSpan - 1)
                     : height;
}

double SonogramPlace(double frequency, bool logarithmic) {
  return logarithmic ? std::log(1 + frequency * (kLogarithmicSpan - 1)) / std::log(kLogarithmicSpan)
                     : frequency;
}

std::vector<size_t> SonogramRowEnds(size_t bins, int height, bool logarithmic) {
  std::vector<size_t> ends;
  for (int row = 1; row <= height; ++row) {
    const double bin =
        SonogramScale(static_cast<double>(row) / height, logarithmic) * static_cast<double>(bins);
    ends.push_back(std::min(static_cast<size_t>(bin), bins));
  }
  return ends;
}

void PaintSonogram(const float* values, size_t frames, size_t bins, size_t first, int width,
                   int height, bool logarithmic, uint32_t* pixels) {
  const auto columns = static_cast<size_t>(width);
  std::fill_n(pixels, columns * static_cast<size_t>(height), kBlack);
  const std::vector<size_t> ends = SonogramRowEnds(bins, height, logarithmic);
  const auto& colours = Colours();
  const size_t shown = first < frames ? std::min(columns, frames - first) : 0;
  for (size_t tile = 0; tile < shown; tile += kTile) {
    const size_t tileEnd = std::min(tile + kTile, shown);
    size_t begin = 0;
    for (size_t row = 0; row < ends.size(); ++row) {
      const size_t end = ends[row];
      uint32_t* line = pixels + (ends.size() - 1 - row) * columns;
      for (size_t x = tile; x < tileEnd && begin < end; ++x) {
        // The scale rises with the level: the loudest bin gives the colour.
        const float* frame = values + (first + x) * bins;
        line[x] = ColourOf(colours, LargestOf(frame + begin, end - begin));
      }
      begin = std::max(begin, end);
    }
  }
}

}  // namespace quill
