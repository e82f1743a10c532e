// SPDX-License-Identifier: GPL-3.0-or-later
// Media for tests, made on the spot: deterministic signals, WAV files written here, every other
// format encoded by the ffmpeg program (which tests require). Encoded files are cached for the
// life of a test process, so that several tests can share one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quill::test {

// A music-like signal, the same for the same seed: chords of decaying harmonics with a beat and a
// little noise, changing every half second, interleaved, about -12 dB. Different seeds give signals
// that no measure takes for one another.
[[nodiscard]] std::vector<float> Music(uint32_t seed, double seconds, uint32_t sampleRate,
                                       uint32_t channels = 2);
// A sine of amplitude 0 to 1, the same in all channels.
[[nodiscard]] std::vector<float> Sine(double frequencyHz, double amplitude, double seconds,
                                      uint32_t sampleRate, uint32_t channels = 1);

enum class WavType { kUnsigned8, kSigned16, kSigned24, kSigned32, kFloat32 };
void WriteWav(const std::string& path, const std::vector<float>& samples, uint32_t sampleRate,
              uint32_t channels, WavType type = WavType::kSigned16);

// Runs ffmpeg on `source` with `options` between input and output ("-b:a 128k -metadata title=A",
// quoted as for a shell). The format follows from the target's extension. A failed test when ffmpeg
// fails.
void Encode(const std::string& source, const std::string& target, const std::string& options = {});

}  // namespace quill::test
