// SPDX-License-Identifier: GPL-3.0-or-later
// Headers of the sound formats that are bare frames one after another, with no container around
// them. Each function takes at least kFrameHeaderBytes readable bytes and gives the bytes of the
// frame that begins there, or 0 when none does.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quill::decoder {

inline constexpr size_t kFrameHeaderBytes = 8;

[[nodiscard]] size_t MpegAudioFrameSize(const uint8_t* header);  // MP1, MP2, MP3
[[nodiscard]] size_t AdtsFrameSize(const uint8_t* header);       // AAC
[[nodiscard]] size_t Ac3FrameSize(const uint8_t* header);        // AC-3 and E-AC-3
[[nodiscard]] bool IsEnhancedAc3(const uint8_t* header);

}  // namespace quill::decoder
