// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/media_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <numbers>
#include <random>
#include <string_view>

#include "support/temp_folder.h"

namespace quill::test {

namespace {

constexpr double kPi = std::numbers::pi;

// Uniform in [0, 1): std::mt19937 gives the same numbers everywhere, the distributions do not.
class CRandom {
 public:
  explicit CRandom(uint32_t seed) : m_engine(seed * 2654435761u + 97) {}
  double Next() { return static_cast<double>(m_engine()) / 4294967296.0; }
  double Between(double low, double high) { return low + (high - low) * Next(); }

 private:
  std::mt19937 m_engine;
};

class CMusicMaker {
 public:
  CMusicMaker(uint32_t seed, double seconds, uint32_t sampleRate, uint32_t channels)
      : m_random(seed),
        m_rate(sampleRate),
        m_channels(channels),
        m_frames(static_cast<size_t>(std::llround(seconds * sampleRate))),
        m_samples(m_frames * channels) {}

  std::vector<float> Make() {
    constexpr double kChordSeconds = 0.5;
    const double duration = static_cast<double>(m_frames) / m_rate;
    for (double start = 0; start < duration; start += kChordSeconds) AddChord(start, kChordSeconds);
    const double beatSeconds = m_random.Between(0.17, 0.71);
    for (double start = m_random.Next() * beatSeconds; start < duration; start += beatSeconds)
      AddBeat(start, m_random.Between(0.02, 0.06));
    for (float& sample : m_samples) sample += static_cast<float>(m_random.Between(-kNoise, kNoise));
    Level();
    return std::move(m_samples);
  }

 private:
  static constexpr double kNoise = 0.01;

  void AddChord(double start, double seconds) {
    const double loudness = m_random.Between(0.2, 1.0);
    const double darkness = m_random.Between(0.6, 2.0);
    for (int note = 0; note < 3; ++note) {
      const double onset = start + m_random.Between(0, 0.5) * seconds;
      const double base = 70 * std::exp2(m_random.Between(0, 4.5));
      const double decay = m_random.Between(2, 9);
      for (int harmonic = 1; harmonic <= 5; ++harmonic) {
        if (base * harmonic > 0.45 * m_rate) break;
        AddPartial(onset, start + seconds, base * harmonic,
                   loudness / std::pow(harmonic, darkness) * m_random.Between(0.5, 1), decay);
      }
    }
  }

  void AddPartial(double start, double end, double frequencyHz, double amplitude, double decay) {
    const auto first = static_cast<size_t>(start * m_rate);
    const size_t last = std::min(m_frames, static_cast<size_t>(end * m_rate));
    const double edge = 0.005 * m_rate;  // frames of attack and release, against clicks
    std::array<float, 16> gains{};
    for (uint32_t channel = 0; channel < m_channels; ++channel)
      gains[channel % gains.size()] = static_cast<float>(m_random.Between(0.3, 1));
    std::complex<double> phasor = std::polar(amplitude, m_random.Between(-kPi, kPi));
    const auto step = std::polar(std::exp(-decay / m_rate), 2 * kPi * frequencyHz / m_rate);
    for (size_t frame = first; frame < last; ++frame, phasor *= step) {
      const auto distance = static_cast<double>(std::min(frame - first, last - frame));
      const auto value = static_cast<float>(phasor.imag() * std::min(1.0, distance / edge));
      for (uint32_t channel = 0; channel < m_channels; ++channel)
        m_samples[frame * m_channels + channel] += value * gains[channel % gains.size()];
    }
  }

  void AddBeat(double start, double seconds) {
    const auto first = static_cast<size_t>(start * m_rate);
    const auto frames = static_cast<size_t>(seconds * m_rate);
    const double amplitude = m_random.Between(0.2, 0.8);
    for (size_t i = 0; i < frames && first + i < m_frames; ++i) {
      const double fade = 1 - static_cast<double>(i) / static_cast<double>(frames);
      const auto value = static_cast<float>(m_random.Between(-1, 1) * amplitude * fade * fade);
      for (uint32_t channel = 0; channel < m_channels; ++channel)
        m_samples[(first + i) * m_channels + channel] += value;
    }
  }

  // The highest peak to -12 dB.
  void Level() {
    float peak = 1e-9f;
    for (float sample : m_samples) peak = std::max(peak, std::abs(sample));
    for (float& sample : m_samples) sample *= 0.25f / peak;
  }

  CRandom m_random;
  const uint32_t m_rate;
  const uint32_t m_channels;
  const size_t m_frames;
  std::vector<float> m_samples;
};

void Append(std::string& bytes, uint64_t value, size_t count) {
  for (size_t i = 0; i < count; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
}

int64_t Quantise(float sample, int bits) {
  const double limit = std::ldexp(1.0, bits - 1);
  return std::llround(std::clamp(static_cast<double>(sample) * limit, -limit, limit - 1));
}

std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace

std::vector<float> Music(uint32_t seed, double seconds, uint32_t sampleRate, uint32_t channels) {
  return CMusicMaker(seed, seconds, sampleRate, channels).Make();
}

std::vector<float> Sine(double frequencyHz, double amplitude, double seconds, uint32_t sampleRate,
                        uint32_t channels) {
  const auto frames = static_cast<size_t>(std::llround(seconds * sampleRate));
  std::vector<float> samples;
  samples.reserve(frames * channels);
  for (size_t frame = 0; frame < frames; ++frame) {
    const double phase = 2 * kPi * frequencyHz * static_cast<double>(frame) / sampleRate;
    samples.insert(samples.end(), channels, static_cast<float>(amplitude * std::sin(phase)));
  }
  return samples;
}

void WriteWav(const std::string& path, const std::vector<float>& samples, uint32_t sampleRate,
              uint32_t channels, WavType type) {
  const bool isFloat = type == WavType::kFloat32;
  const uint32_t bytes = type == WavType::kUnsigned8  ? 1
                         : type == WavType::kSigned16 ? 2
                         : type == WavType::kSigned24 ? 3
                                                      : 4;
  const uint32_t dataSize = static_cast<uint32_t>(samples.size()) * bytes;
  const bool extensible = channels > 2;
  const uint32_t formatSize = extensible ? 40 : 16;
  const uint32_t formatTag = isFloat ? 3 : 1;
  std::string file = "RIFF";
  Append(file, 4 + 8 + formatSize + 8 + dataSize + dataSize % 2, 4);
  file += "WAVEfmt ";
  Append(file, formatSize, 4);
  Append(file, extensible ? 0xFFFE : formatTag, 2);
  Append(file, channels, 2);
  Append(file, sampleRate, 4);
  Append(file, uint64_t{sampleRate} * channels * bytes, 4);
  Append(file, uint64_t{channels} * bytes, 2);
  Append(file, uint64_t{bytes} * 8, 2);
  if (extensible) {
    Append(file, 22, 2);
    Append(file, uint64_t{bytes} * 8, 2);
    // Speaker positions: 5.1 and 7.1, else the first so many.
    Append(file, channels == 8 ? 0x63F : (1u << channels) - 1, 4);
    Append(file, formatTag, 2);
    file.append("\x00\x00\x00\x00\x10\x00\x80\x00\x00\xAA\x00\x38\x9B\x71", 14);
  }
  file += "data";
  Append(file, dataSize, 4);
  file.reserve(file.size() + dataSize + 1);
  for (float sample : samples) {
    if (isFloat)
      file.append(reinterpret_cast<const char*>(&sample), sizeof sample);
    else if (type == WavType::kUnsigned8)
      Append(file, static_cast<uint64_t>(Quantise(sample, 8) + 128), 1);
    else
      Append(file, static_cast<uint64_t>(Quantise(sample, static_cast<int>(bytes) * 8)), bytes);
  }
  if (dataSize % 2 != 0) file.push_back('\0');
  WriteAll(path, file);
}

void Encode(const std::string& source, const std::string& target, const std::string& options) {
  static const CTempFolder folder;
  static std::map<std::string, std::string> encoded;  // by source, options and format
  const std::string content = ReadAll(source);
  const std::string extension = std::filesystem::path(target).extension();
  const std::string key = std::to_string(std::hash<std::string>{}(content)) + " " +
                          std::to_string(content.size()) + " " + extension + " " + options;
  auto found = encoded.find(key);
  if (found == encoded.end()) {
    const std::string made = folder / (std::to_string(encoded.size()) + extension);
    const std::string command = "ffmpeg -v error -nostdin -y -i " + Quoted(source) + " " + options +
                                " " + Quoted(made) + " 2>&1";
    if (std::system(command.c_str()) != 0) {
      ADD_FAILURE() << "failed: " << command;
      return;
    }
    found = encoded.emplace(key, made).first;
  }
  std::filesystem::create_directories(std::filesystem::path(target).parent_path());
  std::filesystem::copy_file(found->second, target,
                             std::filesystem::copy_options::overwrite_existing);
}

}  // namespace quill::test
