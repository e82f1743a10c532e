// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <vector>

#include "signal/picture_ops.h"
#include "signal/vector_check.h"

namespace quill {
namespace {

VecStatus CheckResize(const PictureView& source, const uint8_t* dst, int32_t width,
                      int32_t height) {
  if (const VecStatus status =
          CheckVectors(std::min({source.width, source.height, width, height}), source.pixels, dst))
    return status;
  const bool fits =
      std::max(source.width, source.height) <= kLongestSourceSide &&
      std::max(width, height) <= kLongestTargetSide &&
      (source.channels == 3 || source.channels == 4) &&
      source.rowStep / static_cast<size_t>(source.channels) >= static_cast<size_t>(source.width);
  return fits ? kVecOk : kVecBadSize;
}

// Lengths are counted in parts: with n target pixels along a side of m source pixels, a source
// pixel has n parts and a target pixel covers m. Calls edge(i, weight) for a source pixel that the
// target pixel covers by `weight` parts only, inner(i, count) for a run that it covers whole.
template <class Edge, class Inner>
void ForCovered(int64_t target, int64_t n, int64_t m, Edge edge, Inner inner) {
  const int64_t begin = target * m;
  const int64_t end = begin + m;
  int64_t first = begin / n;
  const int64_t last = end / n;  // the first one that is not covered to its end
  if (begin % n != 0) {
    edge(first, std::min(end, (first + 1) * n) - begin);
    ++first;
  }
  if (first < last) inner(first, last - first);
  if (first <= last && end % n != 0) edge(last, end % n);
}

// Bytes of a row that are summed together: their sums stay in the innermost cache.
constexpr size_t kStrip = 4096;

void AddRow(const uint8_t* __restrict row, uint32_t weight, size_t n, uint32_t* __restrict sums) {
  for (size_t i = 0; i < n; ++i) sums[i] += weight * row[i];
}

void AddFourRows(const uint8_t* __restrict row, size_t step, size_t n, uint16_t* __restrict sums) {
  const uint8_t* const row1 = row + step;
  const uint8_t* const row2 = row1 + step;
  const uint8_t* const row3 = row2 + step;
  for (size_t i = 0; i < n; ++i)
    sums[i] = static_cast<uint16_t>(sums[i] + row[i] + row1[i] + row2[i] + row3[i]);
}

// Adds `count` rows of `n` bytes, n at most kStrip, with one weight.
void AddRows(const uint8_t* row, size_t step, int64_t count, uint32_t weight, size_t n,
             uint32_t* __restrict sums) {
  // So many rows of bytes fit into 16 bits.
  constexpr int64_t kMostRows = 256;
  alignas(64) uint16_t piece[kStrip];
  while (count >= 4) {
    std::fill_n(piece, n, uint16_t{0});
    const int64_t rows = std::min(count, kMostRows) / 4 * 4;
    for (int64_t i = 0; i < rows; i += 4, row += 4 * step) AddFourRows(row, step, n, piece);
    for (size_t i = 0; i < n; ++i) sums[i] += weight * piece[i];
    count -= rows;
  }
  for (; count > 0; --count, row += step) AddRow(row, weight, n, sums);
}

// One row of the target from the vertical sums of the source.
template <size_t kChannels>
void AverageRow(const uint32_t* sums, const PictureView& source, uint8_t* dst, int32_t width) {
  const uint64_t area = static_cast<uint64_t>(source.width) * static_cast<uint64_t>(source.height);
  for (int32_t x = 0; x < width; ++x) {
    uint64_t whole[kChannels] = {};
    ForCovered(
        x, width, source.width,
        [&](int64_t at, int64_t weight) {
          const uint32_t* const pixel = sums + static_cast<size_t>(at) * kChannels;
          for (size_t c = 0; c < kChannels; ++c)
            whole[c] += static_cast<uint64_t>(weight) * pixel[c];
        },
        [&](int64_t at, int64_t count) {
          uint64_t inner[kChannels] = {};
          const uint32_t* pixel = sums + static_cast<size_t>(at) * kChannels;
          for (int64_t i = 0; i < count; ++i, pixel += kChannels)
            for (size_t c = 0; c < kChannels; ++c) inner[c] += pixel[c];
          for (size_t c = 0; c < kChannels; ++c)
            whole[c] += static_cast<uint64_t>(width) * inner[c];
        });
    for (const uint64_t sum : whole) *dst++ = static_cast<uint8_t>((2 * sum + area) / (2 * area));
  }
}

// Where a target pixel of linear interpolation lies between two source pixels.
struct Place {
  size_t before, behind;   // source pixels
  uint32_t weight, whole;  // of `behind`, of both
};

Place PlaceOf(int64_t target, int64_t n, int64_t m) {
  // In units of 1 / 2n of a source pixel, from the centre of the first one.
  const int64_t at = std::clamp<int64_t>((2 * target + 1) * m - n, 0, 2 * n * (m - 1));
  const int64_t before = at / (2 * n);
  return {static_cast<size_t>(before), static_cast<size_t>(std::min(before + 1, m - 1)),
          static_cast<uint32_t>(at % (2 * n)), static_cast<uint32_t>(2 * n)};
}

}  // namespace

VecStatus PictureAverage(const PictureView& source, uint8_t* dst, int32_t width, int32_t height) {
  if (const VecStatus status = CheckResize(source, dst, width, height)) return status;
  const size_t rowBytes = static_cast<size_t>(source.width) * static_cast<size_t>(source.channels);
  std::vector<uint32_t> sums(rowBytes);
  for (int32_t y = 0; y < height; ++y) {
    std::fill(sums.begin(), sums.end(), 0);
    for (size_t at = 0; at < rowBytes; at += kStrip) {
      const size_t n = std::min(kStrip, rowBytes - at);
      const uint8_t* const strip = source.pixels + at;
      const auto row = [&](int64_t i) { return strip + static_cast<size_t>(i) * source.rowStep; };
      ForCovered(
          y, height, source.height,
          [&](int64_t i, int64_t weight) {
            AddRow(row(i), static_cast<uint32_t>(weight), n, sums.data() + at);
          },
          [&](int64_t i, int64_t count) {
            AddRows(row(i), source.rowStep, count, static_cast<uint32_t>(height), n,
                    sums.data() + at);
          });
    }
    uint8_t* const target = dst + ptrdiff_t{y} * width * source.channels;
    if (source.channels == 3)
      AverageRow<3>(sums.data(), source, target, width);
    else
      AverageRow<4>(sums.data(), source, target, width);
  }
  return kVecOk;
}

VecStatus PictureLinear(const PictureView& source, uint8_t* dst, int32_t width, int32_t height) {
  if (const VecStatus status = CheckResize(source, dst, width, height)) return status;
  const auto channels = static_cast<size_t>(source.channels);
  for (int32_t y = 0; y < height; ++y) {
    const Place row = PlaceOf(y, height, source.height);
    const uint8_t* const upper = source.pixels + row.before * source.rowStep;
    const uint8_t* const lower = source.pixels + row.behind * source.rowStep;
    for (int32_t x = 0; x < width; ++x) {
      const Place column = PlaceOf(x, width, source.width);
      const uint32_t area = row.whole * column.whole;
      for (size_t c = 0; c < channels; ++c) {
        const auto between = [&](const uint8_t* line) {
          return (column.whole - column.weight) * line[column.before * channels + c] +
                 column.weight * line[column.behind * channels + c];
        };
        const uint32_t sum =
            (row.whole - row.weight) * between(upper) + row.weight * between(lower);
        *dst++ = static_cast<uint8_t>((sum + area / 2) / area);
      }
    }
  }
  return kVecOk;
}

}  // namespace quill
