// SPDX-License-Identifier: GPL-3.0-or-later
// The information record of an open file.
#pragma once

#include "decoder/sound/container.h"
#include "decoding/wire.h"

namespace quill::decoder {

// What else is known of the file. 0 stands for unknown.
struct DecodedFacts {
  uint64_t fileSize = 0;     // bytes
  int64_t bitrate = 0;       // bits per second, as the codec tells
  uint64_t soundFrames = 0;  // exact length
  uint32_t sampleRate = 0;
};

void FillAudioInfo(const CContainer& container, const DecodedFacts& facts, wire::AudioInfo& info);

}  // namespace quill::decoder
