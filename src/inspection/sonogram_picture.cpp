#include "inspection/sonogram_picture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "inspection/level_scale.h"
#include "signal/vector_ops.h"

namespace quill {

namespace {

constexpr uint32_t kBlack = 0xFF000000;
// Columns that are painted side by side: a row of them is one cache line.
constexpr size_t kTile = 16;
constexpr double kLogarithmicSpan = 101;

// Fractions are looked up finer than two neighbouring colours lie apart.
constexpr size_t kColours = 4096;

const std::array<uint32_t, kColours + 1>& Colours() {
  static const std::array<uint32_t, kColours + 1> kTable = [] {
    std::array<uint32_t, kColours + 1> table{};
    for (size_t i = 0; i <= kColours; ++i)
      table[i] = SonogramColour(static_cast<double>(i) / kColours);
    return table;
  }();
  return kTable;
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
        // The scale rises with the level, so one logarithm does for the loudest bin.
        const float* frame = values + (first + x) * bins;
        const double fraction =
            std::clamp(DecibelFraction(LargestOf(frame + begin, end - begin)), 0.0, 1.0);
        line[x] = colours[static_cast<size_t>(fraction * kColours)];
      }
      begin = std::max(begin, end);
    }
  }
}

}  // namespace quill
