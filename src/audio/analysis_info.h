// SPDX-License-Identifier: GPL-3.0-or-later
// The outcome of the analysis of one audio file. Immutable once shared: a change of path or tags
// makes a new record and swaps the reference.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "core/reference.h"

namespace quill {

struct AnalysisInfo : CReferenced<AnalysisInfo> {
  using Spectrum = std::array<uint8_t, 32>;

  std::string path;  // full path, the key of the item; UTF-8 as far as the file system has it
  std::string artist, album, title;
  uint32_t durationMs = 0;
  uint32_t bitrate = 0;     // bits per second
  uint32_t sampleRate = 0;  // Hz
  uint8_t dataFormat = 0;   // wire::AudioFormat's
  uint8_t channels = 0;     // 1 or 2
  uint16_t format = 0;      // wire::FormatId

  // What was measured; a value of full scale is 1.0.
  float clipping = 0;  // samples that are at least the third in a row at the peak
  float silence = 0;   // gaps of 5 seconds or more with sound before and after
  float absMean = 0;   // magnitude of the mean sample: an offset from zero, not a loudness
  float minStep = 0;   // least difference of neighbouring samples that differ
  float absMax = 0;    // peak; of the quieter channel
  float maxFreq = 0;   // highest frequency that stands out from what lies above it, Hz
  float clicks = 0;    // short bursts far above their surroundings

  // 32 equal bands from 0 Hz to half the sample rate; 0 is -150 dB or less, 255 is 0 dB.
  Spectrum averageSpectrum{}, peakSpectrum{};

  uint32_t modified = 0;  // modification time in seconds, low 32 bits; 0 when not from a scan
  uint64_t size = 0;      // bytes
};

}  // namespace quill
