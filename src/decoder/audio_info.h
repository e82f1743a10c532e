// The information record of an open file.
#pragma once

#include "decoder/container.h"
#include "decoding/wire.h"

namespace quill::decoder {

// `decodedBitrate` is what the codec tells of the stream so far, bits per second, 0 for unknown.
void FillAudioInfo(const CContainer& container, uint64_t fileSize, int64_t decodedBitrate,
                   wire::AudioInfo& info);

}  // namespace quill::decoder
