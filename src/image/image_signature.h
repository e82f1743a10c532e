// SPDX-License-Identifier: GPL-3.0-or-later
// How the two signatures of a picture are made. Only a grey thumbnail of 64 by 64 counts, so that a
// change of size, format or quality leaves little trace in them. Pure functions; a failed primitive
// is reported.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "image/image_prints.h"
#include "signal/picture_ops.h"

namespace quill {

inline constexpr int32_t kThumbnailSize = kThumbnailSide * kThumbnailSide;

// Grey values 0 to 255, row by row. The sides' ratio is not kept; alpha is left out. A picture of
// less than 64 pixels in either direction is interpolated, any other is averaged.
[[nodiscard]] bool MakeThumbnail(const PictureView& picture, float* thumbnail);

// The content signature: a value for each row and each column, see ImageContent. False after a
// report on bad arguments.
[[nodiscard]] bool CalculateCorrelation(const float* image, int32_t width, int32_t height,
                                        ImageContent* content);

// The experimental signature of a thumbnail.
[[nodiscard]] bool CalculateQuadrants(const float* thumbnail, ImageExperimental* experimental);

// The range of the values, cut to bytes: the least becomes 0, the greatest 255. Values that are all
// equal are taken as they are, in units of 1 / 256.
[[nodiscard]] bool Compress(std::span<float> values, std::vector<uint8_t>* bytes);

}  // namespace quill
