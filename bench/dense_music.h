// SPDX-License-Identifier: GPL-3.0-or-later
// What the benches of whole sound files share: dense sound to be decoded, and decoding it with
// nothing behind.
#pragma once

#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "decoding/audio_decoder.h"
#include "decoding/channel_splitter.h"
#include "support/media_maker.h"

namespace quill {

inline constexpr uint32_t kRate = 44100;

inline double Milliseconds() {
  using namespace std::chrono;
  return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

// Stereo: music with a bed of noise from the lowest to the highest frequency.
inline std::vector<float> DenseMusic(double seconds) {
  std::vector<float> samples = test::Music(1, seconds, kRate);
  std::mt19937 random(1);
  std::uniform_real_distribution<float> noise(-0.2F, 0.2F);
  for (float& sample : samples) sample = 2 * sample + noise(random);
  return samples;
}

inline bool DecodeOnly(CAudioDecoder& decoder, const std::string& path) {
  CFloatVector left, right;
  if (decoder.Open(path, 0) != kDecodeOk) return false;
  do {
    if (GetData(decoder, &left, &right) != kDecodeOk) return false;
  } while (!left.empty());
  return decoder.Close() == kDecodeOk;
}

}  // namespace quill
