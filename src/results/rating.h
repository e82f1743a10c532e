// SPDX-License-Identifier: GPL-3.0-or-later
// One number from 0 to 1 for the measured quality of an audio file: what the analysis table sorts
// by and the automark chooses by.
#pragma once

#include "audio/analysis_info.h"

namespace quill {

// A product of factors, each 1 for what cannot be heard: sample rate, bitrate, highest frequency,
// mono, clipping, low level, offset, coarse steps. In 32-bit floats, in that order.
[[nodiscard]] float Rating(const AnalysisInfo& info);

}  // namespace quill
