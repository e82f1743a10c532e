// Tells by a file's first bytes which demuxer, if any, is to open it. Content decides, never the
// name. Most files of a scan are no sound at all, so a refusal has to be quick: formats with a
// signature take one small read, and streams of bare frames (MPEG audio, AAC, AC-3) are looked for
// in the first 64 KiB, where several frames must follow one another. Only the formats listed here
// are ever opened: no playlist, script, network, image or subtitle format is among them.
#pragma once

#include "decoder/input_file.h"

namespace quill::decoder {

// Short name of an FFmpeg demuxer, a constant; null when the content is none of the known ones.
[[nodiscard]] const char* ProbeSound(const CInputFile& file);

}  // namespace quill::decoder
