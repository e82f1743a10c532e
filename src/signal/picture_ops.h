// SPDX-License-Identifier: GPL-3.0-or-later
// The operations on pictures under the image engine: resize, grey, transpose and the transform of a
// thumbnail. Pictures of bytes are interleaved with three or four samples a pixel; results have no
// gap between rows. Status as in vector_ops.h. Re-entrant.
//
// The resizes are exact: weights are whole numbers, sums hold them without loss, and each result is
// rounded once, halves upward. So they give the same bytes on every processor.
#pragma once

#include <cstddef>
#include <cstdint>

#include "signal/vector_ops.h"

namespace quill {

// A picture that lies somewhere else.
struct PictureView {
  const uint8_t* pixels = nullptr;
  int32_t width = 0;  // pixels
  int32_t height = 0;
  int32_t channels = 0;  // 3 or 4
  size_t rowStep = 0;    // bytes from row to row, not below width x channels
};

// Sides of a source and of a target; longer ones are kVecBadSize.
inline constexpr int32_t kLongestSourceSide = 1 << 24;
inline constexpr int32_t kLongestTargetSide = 256;

// Each target pixel is the mean of the part of the source that it covers; a source pixel on a
// border counts by its share on either side.
VecStatus PictureAverage(const PictureView& source, uint8_t* dst, int32_t width, int32_t height);
// Each target pixel is weighed from the four source pixels around its centre's place; the outermost
// source pixels go on outside of the picture. Makes no mean: when it makes a picture smaller, some
// source pixels count for nothing.
VecStatus PictureLinear(const PictureView& source, uint8_t* dst, int32_t width, int32_t height);

// dst[i] = 0.299 red + 0.587 green + 0.114 blue of pixel i, rounded; a fourth sample is left out.
VecStatus PictureGrey(const uint8_t* src, int32_t channels, uint8_t* dst, int32_t n);
// dst is `height` wide and `width` high.
VecStatus PictureTranspose(const float* src, int32_t width, int32_t height, float* dst);

// The magnitudes of the two-dimensional Fourier transform of a picture of 64 by 64, divided by
// 4096: 64 rows, vertical frequency by row, horizontal by column, both from 0 upward with the
// negative ones in the second half.
inline constexpr int32_t kTransformSide = 64;
VecStatus PictureMagnitudes(const float* src, float* dst);

}  // namespace quill
