// SPDX-License-Identifier: GPL-3.0-or-later
// The real decoder program behind the real link and client: a folder for files, a table of the
// test's own, and whole files read into memory.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include "core/configuration.h"
#include "core/log.h"
#include "core/settings_store.h"
#include "decoder/link/status.h"
#include "decoding/audio_decoder.h"
#include "decoding/decoder_table.h"
#include "decoding/process_link.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"

namespace quill::test {

using decoder::Status;

constexpr int32_t Code(Status status) {
  return static_cast<int32_t>(status);
}

struct Sound {
  wire::AudioFormat format{};
  wire::AudioInfo info{};
  std::vector<float> samples;  // interleaved
  std::vector<size_t> blocks;  // frames of each reply
  uint32_t channels = 0;

  [[nodiscard]] size_t Frames() const { return channels == 0 ? 0 : samples.size() / channels; }
};

class DecoderTest : public testing::Test {
 protected:
  DecoderTest() {
    std::signal(SIGPIPE, SIG_IGN);
    CConfiguration::Instance().SetStore(&m_store);
    CLog::Instance().SetFolder(m_folder / "log");
    m_table.Reload();
  }
  ~DecoderTest() override {
    CLog::Instance().SetFolder(m_folder.Path());
    CConfiguration::Instance().SetStore(nullptr);
  }

  // Reads the file that is open to its end.
  Sound ReadOpen() {
    Sound sound;
    m_decoder.GetFormat(&sound.format);
    EXPECT_EQ(m_decoder.GetInfo(&sound.info), kDecodeOk);
    sound.channels = ChannelCount(sound.format.channelsFormat);
    const uint32_t frameSize = FrameSize(sound.format);
    const uint8_t* block = nullptr;
    uint32_t size = 0;
    while (true) {
      EXPECT_EQ(m_decoder.GetData(&block, &size), kDecodeOk);
      if (size == 0) break;
      EXPECT_EQ(size % frameSize, 0u);
      EXPECT_LE(size, wire::kSmallMapping);
      sound.blocks.push_back(size / frameSize);
      Append(sound, block, size);
    }
    EXPECT_EQ(m_decoder.Close(), kDecodeOk);
    return sound;
  }
  Sound Decode(const std::string& path, uint32_t flags = 0) {
    const int32_t result = m_decoder.Open(path, flags);
    EXPECT_EQ(result, kDecodeOk) << path;
    return result == kDecodeOk ? ReadOpen() : Sound{};
  }
  // The status of an open that is to be refused.
  int32_t OpenStatus(const std::string& path, uint32_t flags = 0) {
    const int32_t result = m_decoder.Open(path, flags);
    if (result == kDecodeOk) m_decoder.Close();
    return result;
  }

  // A short stereo track as WAV, 44100 Hz.
  std::string Track(double seconds = 1) {
    std::string path = m_folder / "track.wav";
    WriteWav(path, Music(7, seconds, 44100), 44100, 2);
    return path;
  }
  std::string Encoded(const std::string& name, const std::string& options = {}) {
    std::string path = m_folder / name;
    Encode(Track(), path, options);
    return path;
  }

  const CTempFolder m_folder;
  CMemorySettingsStore m_store;
  CDecoderTable m_table;
  CProcessLink m_link{m_table};
  CAudioDecoder m_decoder{m_link};

 private:
  static void Append(Sound& sound, const uint8_t* block, uint32_t size) {
    if (sound.format.dataFormat == wire::kFloat32) {
      const size_t old = sound.samples.size();
      sound.samples.resize(old + size / sizeof(float));
      std::memcpy(sound.samples.data() + old, block, size);
      return;
    }
    EXPECT_EQ(sound.format.dataFormat, wire::kSigned16);
    for (uint32_t i = 0; i + 1 < size; i += 2) {
      int16_t sample = 0;
      std::memcpy(&sample, block + i, sizeof sample);
      sound.samples.push_back(static_cast<float>(sample) / 32768.0f);
    }
  }
};

}  // namespace quill::test
