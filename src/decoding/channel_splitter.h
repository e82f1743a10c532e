// SPDX-License-Identifier: GPL-3.0-or-later
// The channel splitter: reads one block of an open file and hands it out as one or two float
// channels with no change of rate, for analysis and spectra. Belongs to the thread of the link.
#pragma once

#include <cstdint>

#include "decoding/audio_decoder.h"
#include "signal/aligned_allocator.h"

namespace quill {

// Mono fills `left` only. Two empty vectors with result 0 are the end of the stream. 16-bit mono is
// read byte by byte as signed 8-bit values (the decoder hands mono over as float, so its users get
// true levels). Six and eight channels and 8-bit mono are not handled: kDecodeBadArgument.
[[nodiscard]] int32_t GetData(CAudioDecoder& client, CFloatVector* left, CFloatVector* right);

}  // namespace quill
