// SPDX-License-Identifier: GPL-3.0-or-later
// The pixels of a sonogram: one column a frame, high frequencies at the top, colours from black
// (silence) over blue (-75 dB) to red (0 dB). Pure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quill {

// 0xFFRRGGBB for a fraction of the full scale.
[[nodiscard]] uint32_t SonogramColour(double fraction);
// The frequency axis: from a share of the height, counted from the bottom, to the share of the
// highest frequency that stands there, and back.
[[nodiscard]] double SonogramScale(double height, bool logarithmic);
[[nodiscard]] double SonogramPlace(double frequency, bool logarithmic);
// The bin at the upper edge of each row, counted from the bottom (row 0 is the lowest): `height`
// rising numbers, at most `bins`.
[[nodiscard]] std::vector<size_t> SonogramRowEnds(size_t bins, int height, bool logarithmic);
// Fills `pixels`, `width` x `height` of them, row by row from the top, with the frames from `first`
// on; columns behind the last frame are black.
void PaintSonogram(const float* values, size_t frames, size_t bins, size_t first, int width,
                   int height, bool logarithmic, uint32_t* pixels);

}  // namespace quill
