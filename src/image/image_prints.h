// SPDX-License-Identifier: GPL-3.0-or-later
// The two signatures of a picture, each made from a 64 by 64 grey thumbnail. Immutable once filed,
// shared by reference. Their lengths are those below unless they come from a damaged cache file:
// whoever reads them looks.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core/reference.h"

namespace quill {

inline constexpr int32_t kThumbnailSide = 64;
inline constexpr int32_t kQuadrantSide = 33;
inline constexpr int32_t kQuadrantSize = kQuadrantSide * kQuadrantSide;

// How closely each row of the thumbnail follows the row before it, and each column: 64 values of
// which the first is 0 and counts for nothing, the others have mean 0 and variance 1 or are all 0.
struct ImageContent : CReferenced<ImageContent> {
  std::vector<float> rows, columns;

  [[nodiscard]] bool IsWhole() const {
    return rows.size() == kThumbnailSide && columns.size() == kThumbnailSide;
  }
};

// A quarter of the picture's spectrum, row by row, with what a Pearson value needs of it.
class CImageQuadrant {
 public:
  void Assign(std::span<const uint8_t> values);

  [[nodiscard]] const std::vector<uint8_t>& Values() const { return m_values; }
  [[nodiscard]] int64_t Sum() const { return m_sum; }
  // sqrt(n x sum of squares - sum^2); 0 for a constant one.
  [[nodiscard]] double Deviation() const { return m_deviation; }

 private:
  std::vector<uint8_t> m_values;
  int64_t m_sum = 0;
  double m_deviation = 0;
};

// Two neighbouring quadrants of the weighted log-magnitude spectrum: the positive horizontal
// frequencies, and the negative ones laid out in the same way. Values are bytes since the
// comparison depends neither on scale nor on offset.
struct ImageExperimental : CReferenced<ImageExperimental> {
  CImageQuadrant quadrant1, quadrant2;

  [[nodiscard]] bool IsWhole() const {
    return quadrant1.Values().size() == kQuadrantSize && quadrant2.Values().size() == kQuadrantSize;
  }
};

}  // namespace quill
