// SPDX-License-Identifier: GPL-3.0-or-later
// Every format, made from a known signal: what comes back is that signal, in the type, length and
// place that the format can keep.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <ostream>

#include "decoder/decoder_test.h"

namespace quill {
namespace {

using test::DecoderTest;
using test::Sound;
using test::WavType;

// Correlation of a channel of the sound with the source, `lag` frames behind it.
double Correlation(const std::vector<float>& source, const std::vector<float>& sound,
                   size_t channels, size_t channel, ptrdiff_t lag, size_t step = 1) {
  double product = 0, power = 0, sourcePower = 0;
  const auto frames = static_cast<ptrdiff_t>(std::min(source.size(), sound.size()) / channels);
  for (ptrdiff_t i = std::max<ptrdiff_t>(0, -lag); i < frames - std::max<ptrdiff_t>(0, lag);
       i += static_cast<ptrdiff_t>(step)) {
    const double a = source[static_cast<size_t>(i) * channels + channel];
    const double b = sound[static_cast<size_t>(i + lag) * channels + channel];
    product += a * b;
    sourcePower += a * a;
    power += b * b;
  }
  return product / std::sqrt(power * sourcePower + 1e-12);
}

struct FormatCase {
  const char* file;
  const char* options;
  uint32_t rate;
  uint32_t channels;
  WavType sourceType;
  uint32_t dataFormat;
  uint32_t formatId;
  bool exact;    // every sample comes back
  int maxShift;  // frames by which the codec may move the sound or change its length
};

void PrintTo(const FormatCase& item, std::ostream* out) {
  *out << item.file;
}

constexpr auto k8 = WavType::kUnsigned8;
constexpr auto k16 = WavType::kSigned16;
constexpr auto k24 = WavType::kSigned24;
constexpr auto k32 = WavType::kSigned32;
constexpr auto kF32 = WavType::kFloat32;

const FormatCase kCases[] = {
    {"a.wav", nullptr, 44100, 2, k16, wire::kSigned16, wire::kPcm, true, 0},
    {"a.wav", nullptr, 22050, 2, k8, wire::kSigned16, wire::kPcm, true, 0},
    {"a.wav", nullptr, 44100, 2, k24, wire::kFloat32, wire::kPcm, true, 0},
    {"a.wav", nullptr, 44100, 2, k32, wire::kFloat32, wire::kPcm, true, 0},
    {"a.wav", nullptr, 96000, 2, kF32, wire::kFloat32, wire::kPcm, true, 0},
    {"a.wav", nullptr, 44100, 1, k16, wire::kFloat32, wire::kPcm, true, 0},
    {"a.wav", nullptr, 48000, 6, k16, wire::kSigned16, wire::kPcm, true, 0},
    {"a.wav", nullptr, 48000, 8, k24, wire::kFloat32, wire::kPcm, true, 0},
    {"a.w64", "", 44100, 2, k16, wire::kSigned16, wire::kPcm, true, 0},
    {"a.aiff", "", 44100, 2, k16, wire::kSigned16, wire::kPcm, true, 0},
    {"a.au", "", 44100, 2, k16, wire::kSigned16, wire::kPcm, true, 0},
    {"a.caf", "", 44100, 2, k16, wire::kSigned16, wire::kPcm, true, 0},
    {"a.flac", "", 44100, 2, k16, wire::kSigned16, wire::kFlac, true, 0},
    {"a.flac", "-sample_fmt s32", 44100, 2, k24, wire::kFloat32, wire::kFlac, true, 0},
    {"a.flac", "", 44100, 1, k16, wire::kFloat32, wire::kFlac, true, 0},
    {"a.flac", "", 48000, 6, k16, wire::kSigned16, wire::kFlac, true, 0},
    {"a.oga", "", 44100, 2, k16, wire::kSigned16, wire::kFlac, true, 0},
    {"a.m4a", "-c:a alac", 44100, 2, k16, wire::kSigned16, wire::kAppleLossless, true, 0},
    {"a.m4a", "-c:a alac -sample_fmt s32p", 44100, 2, k24, wire::kFloat32, wire::kAppleLossless,
     true, 0},
    {"a.wv", "", 44100, 2, k16, wire::kSigned16, wire::kWavPack, true, 0},
    {"a.wv", "-sample_fmt s32p", 48000, 8, k24, wire::kFloat32, wire::kWavPack, true, 0},
    {"a.tta", "", 44100, 2, k16, wire::kSigned16, 0, true, 0},
    {"a.mka", "-c:a flac", 44100, 2, k16, wire::kSigned16, wire::kFlac, true, 0},
    {"a.mp3", "-b:a 192k", 44100, 2, k16, wire::kSigned16, wire::kMp3, false, 0},
    {"a.mp3", "-q:a 2", 44100, 1, k16, wire::kFloat32, wire::kMp3, false, 0},
    {"a.mp3", "-b:a 192k -write_xing 0", 44100, 2, k16, wire::kSigned16, wire::kMp3, false, 2400},
    {"a.mp2", "-b:a 384k", 44100, 2, k16, wire::kSigned16, wire::kMp2, false, 1200},
    {"a.ogg", "-q:a 6", 44100, 2, k16, wire::kSigned16, wire::kOgg, false, 0},
    {"a.opus", "-b:a 160k", 48000, 2, k16, wire::kSigned16, wire::kOgg, false, 0},
    {"a.webm", "-b:a 160k", 48000, 2, k16, wire::kSigned16, 0, false, 0},
    {"a.m4a", "-b:a 192k", 44100, 2, k16, wire::kSigned16, wire::kAac, false, 0},
    {"a.aac", "-b:a 192k", 44100, 2, k16, wire::kSigned16, wire::kAac, false, 2400},
    {"a.wma", "-b:a 192k", 44100, 2, k16, wire::kSigned16, wire::kWma, false, 4200},
    {"a.ac3", "-b:a 320k", 48000, 2, k16, wire::kSigned16, wire::kAc3, false, 1600},
    {"a.eac3", "-b:a 320k", 48000, 2, k16, wire::kSigned16, wire::kAc3, false, 1600},
    {"a.ac3", "-b:a 640k", 48000, 6, k16, wire::kSigned16, wire::kAc3, false, 1600},
    {"a.ts", "-c:a mp2 -b:a 384k", 48000, 2, k16, wire::kSigned16, wire::kMp2, false, 1200},
    {"a.flv", "-c:a mp3 -b:a 192k", 44100, 2, k16, wire::kSigned16, wire::kMp3, false, 2400},
    {"a.avi", "-c:a pcm_s16le", 44100, 2, k16, wire::kSigned16, wire::kPcm, true, 0},
};

uint32_t TypeBits(WavType type) {
  return type == k8 ? 8 : type == k16 ? 16 : type == k24 ? 24 : type == k32 ? 32 : 24;
}

class FormatsTest : public DecoderTest, public testing::WithParamInterface<FormatCase> {};

TEST_P(FormatsTest, ReturnsTheSignal) {
  const FormatCase& item = GetParam();
  constexpr double kSeconds = 1.3;
  const std::vector<float> source = test::Music(3, kSeconds, item.rate, item.channels);
  const std::string wav = m_folder / "source.wav";
  test::WriteWav(wav, source, item.rate, item.channels, item.sourceType);
  std::string path = wav;
  if (item.options != nullptr) {
    path = m_folder / item.file;
    test::Encode(wav, path, item.options);
  }

  const Sound sound = Decode(path);
  EXPECT_EQ(sound.format.dataFormat, item.dataFormat);
  EXPECT_EQ(sound.channels, item.channels);
  EXPECT_EQ(sound.format.sampleRate, item.rate);
  EXPECT_EQ(sound.info.format, item.formatId);
  EXPECT_NEAR(sound.info.durationMs, kSeconds * 1000, 60);
  EXPECT_NEAR(static_cast<double>(sound.Frames()), kSeconds * item.rate, item.maxShift);
  const double fileBitrate = static_cast<double>(std::filesystem::file_size(path)) * 8 / kSeconds;
  EXPECT_NEAR(sound.info.bitrate, fileBitrate, fileBitrate * 0.35);

  if (item.exact) {
    ASSERT_EQ(sound.samples.size(), source.size());
    // Half a step of the source's own rounding.
    const double tolerance = std::ldexp(0.501, 1 - static_cast<int>(TypeBits(item.sourceType)));
    double worst = 0;
    for (size_t i = 0; i < source.size(); ++i)
      worst = std::max(worst, std::abs(static_cast<double>(sound.samples[i]) - source[i]));
    EXPECT_LE(worst, tolerance);
    return;
  }
  ptrdiff_t lag = 0;
  double best = -1;
  for (ptrdiff_t tried = -item.maxShift; tried <= item.maxShift; ++tried) {
    const double found = Correlation(source, sound.samples, item.channels, 0, tried, 16);
    if (found > best) {
      best = found;
      lag = tried;
    }
  }
  // All channels but the low-frequency one in their places. Codecs keep little of that one, and no
  // noise at the highest frequencies.
  for (size_t channel = 0; channel < item.channels; ++channel) {
    if (channel == 3) continue;
    EXPECT_GT(Correlation(source, sound.samples, item.channels, channel, lag), 0.97) << channel;
  }
}

INSTANTIATE_TEST_SUITE_P(Table, FormatsTest, testing::ValuesIn(kCases), [](const auto& param) {
  std::string name = std::to_string(param.index) + "_" +
                     std::filesystem::path(param.param.file).extension().string().substr(1);
  return name + "_" + std::to_string(param.param.channels);
});

TEST_F(DecoderTest, ReadsMonkeyAudioExactly) {
  const std::vector<float> source = test::Music(5, 0.15, 22050);
  const Sound sound = Decode(MEDIA_FOLDER "music.ape");
  EXPECT_EQ(sound.info.format, wire::kMonkeyAudio);
  EXPECT_EQ(sound.format.dataFormat, wire::kSigned16);
  EXPECT_EQ(sound.info.durationMs, 150u);
  ASSERT_EQ(sound.samples.size(), source.size());
  for (size_t i = 0; i < source.size(); ++i)
    ASSERT_NEAR(sound.samples[i], source[i], 1.0 / 32768) << i;
}

TEST_F(DecoderTest, ReadsMusepackWithoutItsDelay) {
  const std::vector<float> source = test::Music(5, 0.25, 44100);
  const Sound sound = Decode(MEDIA_FOLDER "music.mpc");
  EXPECT_EQ(sound.info.format, wire::kMusepack);
  EXPECT_EQ(sound.info.durationMs, 250u);
  ASSERT_EQ(sound.samples.size(), source.size());
  EXPECT_GT(Correlation(source, sound.samples, 2, 0, 0), 0.98);
  EXPECT_GT(Correlation(source, sound.samples, 2, 1, 0), 0.98);
}

// Rounding to 16 bits is what leaves the flat floor by which an encoder's cut-off is found.
TEST_F(DecoderTest, RoundsLossyMonoTo16BitSteps) {
  const std::string wav = m_folder / "mono.wav";
  test::WriteWav(wav, test::Music(4, 0.5, 44100, 1), 44100, 1);
  test::Encode(wav, m_folder / "mono.ogg");
  const Sound sound = Decode(m_folder / "mono.ogg");
  ASSERT_EQ(sound.format.dataFormat, wire::kFloat32);
  ASSERT_FALSE(sound.samples.empty());
  for (float sample : sound.samples) {
    ASSERT_EQ(sample * 32768, std::round(sample * 32768));
    ASSERT_LE(std::abs(sample), 1.0f);
  }
}

TEST_F(DecoderTest, MixesOtherChannelCountsToStereoWithoutOverload) {
  for (uint32_t channels : {3u, 4u, 5u, 7u, 10u}) {
    const std::string path = m_folder / "many.wav";
    test::WriteWav(path, test::Sine(440, 0.99, 0.3, 48000, channels), 48000, channels);
    const Sound sound = Decode(path);
    ASSERT_EQ(sound.channels, 2u) << channels;
    ASSERT_EQ(sound.Frames(), 14400u) << channels;
    const auto [low, high] = std::minmax_element(sound.samples.begin(), sound.samples.end());
    EXPECT_GT(*high, 0.5f) << channels;
    EXPECT_LE(*high, 0.995f) << channels;
    EXPECT_GE(*low, -0.995f) << channels;
  }
}

// Players go on through such a splice, and so must whoever compares what they play.
TEST_F(DecoderTest, KeepsTheOpenedFormatWhenTheStreamChanges) {
  const std::string first = m_folder / "first.mp3";
  const std::string second = m_folder / "second.mp3";
  const std::string wav = m_folder / "other.wav";
  const std::string bare = "-b:a 64k -write_xing 0 -id3v2_version 0 ";
  test::WriteWav(wav, test::Sine(500, 0.5, 1, 22050, 1), 22050, 1);
  test::Encode(Track(), first, bare);
  test::Encode(wav, second, bare);
  test::WriteAll(m_folder / "both.mp3", test::ReadAll(first) + test::ReadAll(second));
  const Sound sound = Decode(m_folder / "both.mp3");
  EXPECT_EQ(sound.format.sampleRate, 44100u);
  ASSERT_EQ(sound.channels, 2u);
  EXPECT_NEAR(static_cast<double>(sound.Frames()), 2 * 44100, 8000);
  // The second part is the sine at its own pitch, in both channels.
  const std::vector<float> sine = test::Sine(500, 0.5, 0.5, 44100, 2);
  const std::vector<float> tail(sound.samples.end() - 2 * 30000, sound.samples.end() - 2 * 7950);
  double best = 0;
  for (ptrdiff_t lag = 0; lag < 100; ++lag)
    best = std::max(best, Correlation(sine, tail, 2, 1, lag));
  EXPECT_GT(best, 0.98);
}

// Until the step between samples can be known, only little goes out at a time.
TEST_F(DecoderTest, FirstRepliesAreShortUntilSamplesDiffer) {
  constexpr size_t kSilentFrames = 1000;
  std::vector<float> samples(2 * kSilentFrames, 0.0f);
  const std::vector<float> music = test::Sine(300, 0.5, 1, 44100, 2);
  samples.insert(samples.end(), music.begin(), music.end());
  const std::string path = m_folder / "late.wav";
  test::WriteWav(path, samples, 44100, 2);
  for (int round = 0; round < 2; ++round) {  // each file begins anew
    const Sound sound = Decode(path);
    ASSERT_GE(sound.blocks.size(), 5u);
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(sound.blocks[i], 256u);
    EXPECT_GT(sound.blocks[4], 256u);
    EXPECT_EQ(sound.Frames(), samples.size() / 2);
  }
}

TEST_F(DecoderTest, ASilentFileEnds) {
  const std::string path = m_folder / "silent.wav";
  test::WriteWav(path, std::vector<float>(2 * 2000, 0.0f), 44100, 2);
  EXPECT_EQ(Decode(path).Frames(), 2000u);
}

TEST_F(DecoderTest, AFileWithoutSamplesIsAnEmptyStream) {
  const std::string path = m_folder / "empty.wav";
  test::WriteWav(path, {}, 44100, 2);
  const Sound sound = Decode(path);
  EXPECT_EQ(sound.format.sampleRate, 44100u);
  EXPECT_EQ(sound.Frames(), 0u);
}

}  // namespace
}  // namespace quill
