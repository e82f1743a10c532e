// SPDX-License-Identifier: GPL-3.0-or-later
// The highest frequency of a sound, found in the greatest magnitudes that its transforms had. Any
// thread.
#pragma once

#include <cstdint>
#include <span>

namespace quill {

inline constexpr size_t kEdgeBins = 2049;  // 0 Hz to half the sample rate

// In Hz. The last place where the level falls to half within 20 bins marks the cut-off of a lossy
// encoder; the search then goes down from the top to the first bin that stands out from what lies
// above. Half the sample rate where nothing is cut off, and where there is no sound at all.
[[nodiscard]] uint64_t HighestFrequency(std::span<const float, kEdgeBins> peak,
                                        uint32_t sampleRate);

}  // namespace quill
