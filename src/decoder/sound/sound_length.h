// SPDX-License-Identifier: GPL-3.0-or-later
// The true extent of the sound in formats whose encoder delay or padding FFmpeg leaves in.
#pragma once

#include <cstdint>

#include "decoder/input/input_file.h"
#include "decoder/sound/container.h"
#include "decoder/sound/sound_probe.h"

namespace quill::decoder {

// In sample frames of the decoded stream.
struct SoundLength {
  uint64_t delay = 0;   // to drop at the start
  uint64_t frames = 0;  // that follow, and are the sound; 0 when the file does not tell
};

// After the first frame has been decoded.
[[nodiscard]] SoundLength FindSoundLength(const CInputFile& file, const ProbeResult& probe,
                                          const CContainer& container, const AVCodecContext& codec);

}  // namespace quill::decoder
