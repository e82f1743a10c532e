// SPDX-License-Identifier: GPL-3.0-or-later
// Tells by a file's first bytes which demuxer, if any, is to open it. Content decides, never the
// name. Most files of a scan are no sound at all, so a refusal has to be quick: formats with a
// signature take one small read, and streams of bare frames (MPEG audio, AAC, AC-3) are looked for
// in the first 64 KiB, where several frames must follow one another. Only the formats listed here
// are ever opened: no playlist, script, network, image or subtitle format is among them.
#pragma once

#include "decoder/input/input_file.h"

namespace quill::decoder {

struct ProbeResult {
  const char* demuxer = nullptr;  // FFmpeg's short name; null when the content is unknown
  uint64_t offset = 0;            // of the content behind leading tags
};

[[nodiscard]] ProbeResult ProbeSound(const CInputFile& file);

}  // namespace quill::decoder
