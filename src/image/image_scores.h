// SPDX-License-Identifier: GPL-3.0-or-later
// The two scores of a pair of pictures, 0 to 1. Both are the same for a picture and any of its
// copies turned by right angles or mirrored: such a copy has the same sequences of rows and columns
// or the same quadrants, but exchanged, read backward or transposed, and the best of the eight ways
// counts. Pure functions of their arguments.
//
// One file is compared with many: it is made ready once, as a target, and the candidates are read
// as they lie in the store. The byte sums are exact integers.
#pragma once

#include <array>
#include <cstdint>

#include "image/image_prints.h"
#include "signal/aligned_allocator.h"

namespace quill {

// The sequences of a picture and the same backward, of one length; the first value of each is 0.
// Empty when the content had sequences of different lengths.
struct ContentTarget {
  CFloatVector rows, columns, rowsBack, columnsBack;
};

// Both quadrants of a picture and both transposed, widened for the vector code.
struct ExperimentalTarget {
  using Values = std::array<int16_t, kQuadrantSize>;
  struct Side {
    alignas(64) Values values;
    alignas(64) Values transposed;
    int64_t sum = 0;
    double deviation = 0;
  };
  Side quadrant1, quadrant2;
};

void MakeContentTarget(const ImageContent& content, ContentTarget* target);
// False after a report when the quadrants are not of 33 by 33 values.
[[nodiscard]] bool DecompressTranspose(const ImageExperimental& experimental,
                                       ExperimentalTarget* target);

// The content score; -1 after a report when the four sequences are not of one length above 1.
[[nodiscard]] float CmpCorMethod(const ContentTarget& target, const ImageContent& candidate);
// The experimental score; -1 when the candidate's quadrants are not of 33 by 33 values.
[[nodiscard]] float CmpFreqMethod(const ExperimentalTarget& target,
                                  const ImageExperimental& candidate);

}  // namespace quill
