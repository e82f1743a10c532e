// SPDX-License-Identifier: GPL-3.0-or-later
// The sound prints of a file. At least 30 s of sound give a SpectrumPrint (content score) and a
// BarkPrint (precise score); a shorter file gives a CorrelogramPrint (precise score) and neither of
// these. Immutable once filed, shared by reference.
#pragma once

#include <array>
#include <cstdint>

#include "core/reference.h"
#include "signal/aligned_allocator.h"

namespace quill {

inline constexpr int32_t kBarkBands = 12;
inline constexpr int32_t kBarkStride = 640;   // bytes from band to band
inline constexpr int32_t kBarkLongest = 637;  // values a band at most (60 s)
inline constexpr int32_t kBarkPattern = 300;  // values of the pattern that is searched for
inline constexpr int32_t kBarkOffsets = kBarkLongest - kBarkPattern + 1;
inline constexpr int32_t kCorrelogramBands = 23;

struct SpectrumPrint : CReferenced<SpectrumPrint> {
  CFloatVector skeleton;    // 100 standard deviations, one for each 0.3 s
  CFloatVector deflection;  // 10 Pearson values between eleven parts of the time line
  CFloatVector spectrum;    // 2048: mean magnitude times bin number
};

// 12 series of bytes, all `length` long: for each hop of 2048 samples, how far the band's spectrum
// has changed. Band b begins at b * kBarkStride; bytes behind `length` are zero. This is also the
// layout that a compute device takes, so a print is copied there as it is.
struct BarkPrint : CReferenced<BarkPrint> {
  int32_t length = 0;  // 0 to kBarkLongest
  alignas(64) std::array<uint8_t, size_t{kBarkBands} * kBarkStride> rows{};

  [[nodiscard]] const uint8_t* Band(int32_t band) const {
    return &rows[static_cast<size_t>(band) * kBarkStride];
  }
  [[nodiscard]] uint8_t* Band(int32_t band) {
    return &rows[static_cast<size_t>(band) * kBarkStride];
  }
};

// 23 runs of equal length, band after band.
struct CorrelogramPrint : CReferenced<CorrelogramPrint> {
  CByteVector values;
};

}  // namespace quill
