// SPDX-License-Identifier: GPL-3.0-or-later
// What looking into a file costs.
//
// 1. The spectrogram of four minutes of dense music as MP3 and FLAC (or of the files given as
//    arguments), at 4096 samples and 50 %, from Build to its end, against a fresh decoder process
//    that decodes the same file through the same splitter with nothing behind it. Goal: 1.5 times.
//    The sonogram at its defaults beside it.
// 2. The picture of a sonogram, 1600 x 900 pixels, for both scales. Goal: 30 ms.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "dense_music.h"
#include "inspection/sonogram_builder.h"
#include "inspection/sonogram_picture.h"
#include "inspection/spectrogram_builder.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

constexpr double kGoal = 1.5;
constexpr double kPictureGoalMs = 30;
constexpr int kRounds = 7;

bool DecodeWhole(const std::string& path) {
  CProcessLink link(CDecoderTable::Instance());
  CAudioDecoder decoder(link);
  return DecodeOnly(decoder, path);
}

template <class Builder>
bool BuildWhole(const std::string& path, uint64_t size, uint64_t overlap) {
  std::atomic<uint32_t> state{CSpectrumBuilder::kRunning};
  Builder builder;
  builder.m_callback = [&] {
    state = builder.GetState();
    state.notify_one();
  };
  if (!builder.Build(path, size, overlap)) return false;
  state.wait(CSpectrumBuilder::kRunning);
  return state == CSpectrumBuilder::kFinished;
}

bool MeasureFile(const std::string& name, const std::string& path) {
  const std::function<bool()> ways[] = {
      [&] { return DecodeWhole(path); },
      [&] { return BuildWhole<CSpectrogramBuilder>(path, 4096, 50); },
      [&] { return BuildWhole<CSonogramBuilder>(path, 1024, 0); },
  };
  double best[std::size(ways)];
  std::fill_n(best, std::size(ways), std::numeric_limits<double>::max());
  for (int round = 0; round < kRounds; ++round) {
    for (size_t way = 0; way < std::size(ways); ++way) {
      const double start = Milliseconds();
      if (!ways[way]()) return false;
      best[way] = std::min(best[way], Milliseconds() - start);
    }
  }
  const double ratio = best[1] / best[0];
  std::printf(
      "%s: decode %.1f ms, spectrogram %.1f ms, ratio %.3f, goal %.2f: %s; "
      "sonogram %.1f ms, ratio %.3f\n",
      name.c_str(), best[0], best[1], ratio, kGoal, ratio <= kGoal ? "met" : "MISSED", best[2],
      best[2] / best[0]);
  return ratio <= kGoal;
}

bool MeasurePicture() {
  constexpr int kWidth = 1600, kHeight = 900;
  constexpr size_t kFrames = 4000;
  std::mt19937 random(2);
  std::uniform_real_distribution<float> level(0, 0.01F);
  bool met = true;
  for (const size_t bins : {size_t{513}, size_t{2049}, size_t{32769}}) {
    const size_t frames = std::min(kFrames, (size_t{64} << 20) / bins);
    std::vector<float> values(frames * bins);
    for (float& value : values) value = level(random);
    for (const bool logarithmic : {false, true}) {
      std::vector<uint32_t> pixels(static_cast<size_t>(kWidth) * kHeight);
      double best = std::numeric_limits<double>::max();
      for (int round = 0; round < kRounds; ++round) {
        const double start = Milliseconds();
        PaintSonogram(values.data(), frames, bins, 0, kWidth, kHeight, logarithmic, pixels.data());
        best = std::min(best, Milliseconds() - start);
      }
      std::printf("picture of %zu bins, %s: %.1f ms, goal %.0f: %s\n", bins,
                  logarithmic ? "logarithmic" : "linear", best, kPictureGoalMs,
                  best <= kPictureGoalMs ? "met" : "MISSED");
      met &= best <= kPictureGoalMs;
    }
  }
  return met;
}

int Run(int argc, char** argv) {
  CDecoderTable::Instance().Reload();
  bool good = true;
  if (argc > 1) {
    for (int i = 1; i < argc; ++i) good &= MeasureFile(argv[i], argv[i]);
  } else {
    const test::CTempFolder folder;
    const std::string wav = folder / "music.wav";
    test::WriteWav(wav, DenseMusic(240), kRate, 2);
    test::Encode(wav, folder / "music.mp3", "-b:a 192k");
    test::Encode(wav, folder / "music.flac");
    good &= MeasureFile("MP3", folder / "music.mp3");
    good &= MeasureFile("FLAC", folder / "music.flac");
  }
  good &= MeasurePicture();
  return good ? 0 : 1;
}

}  // namespace
}  // namespace quill

int main(int argc, char** argv) {
  return quill::Run(argc, argv);
}
