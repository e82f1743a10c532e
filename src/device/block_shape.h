// SPDX-License-Identifier: GPL-3.0-or-later
// The shape of what a compute device is given: prints as rows of bytes, all of one stride whatever
// the length of the sound, so that kernels need no table of offsets and one image row holds one
// file. The kernels in kernel.cl are built for these numbers.
#pragma once

#include <cstdint>

namespace quill {

inline constexpr int32_t kRowBands = 12;           // rows of one file
inline constexpr int32_t kRowBytes = 640;          // a row: the values of one band, then zeros
inline constexpr int32_t kRowUnits = 160;          // a row in units of four bytes
inline constexpr int32_t kRowLongest = 637;        // values of one band at most
inline constexpr int32_t kRowPattern = 300;        // values of the pattern that is searched for
inline constexpr int32_t kRowOffsets = 338;        // places of the pattern in the longest series
inline constexpr int32_t kBlockCandidates = 1000;  // files that are sent at a time
inline constexpr int32_t kFileBytes = kRowBands * kRowBytes;

}  // namespace quill
