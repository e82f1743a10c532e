// SPDX-License-Identifier: GPL-3.0-or-later
// What the analysis of a whole file adds to decoding it.
//
// 1. Process of four minutes of dense music as MP3 and FLAC (or of the files given as arguments),
//    from opening to filing, against the same decoder process decoding the same file through the
//    same splitter with nothing behind it. Goal: 1.5 times.
// 2. The meters alone, one by one, per sample of one channel, beside a plain loop that sums.
// 3. Peak memory after a file of three hours against that after one of four minutes.
#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "audio/audio_analyser.h"
#include "audio/channel_analyser.h"
#include "dense_music.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

constexpr double kGoal = 1.5;

class CNoSink : public CAnalysisSink {
 public:
  bool LockedAdd(const CRef<const AnalysisInfo>&) override { return true; }
};

struct Engine {
  Engine() { table.Reload(); }
  CDecoderTable table;
  CProcessLink link{table};
  CAudioDecoder decoder{link};
  CCacheStore cache;
  CAnalysisStore store{cache};
  CIgnoreList ignores;
  CNoSink sink;
  CAudioAnalyser analyser{decoder, store, ignores, sink};
};

bool MeasureFile(Engine& engine, const std::string& name, const std::string& path) {
  double bare = std::numeric_limits<double>::max();
  double whole = bare;
  for (int round = 0; round < 7; ++round) {
    const double start = Milliseconds();
    if (!DecodeOnly(engine.decoder, path)) return false;
    const double middle = Milliseconds();
    engine.store.ClearRecords();
    if (!engine.analyser.Process(path)) return false;
    bare = std::min(bare, middle - start);
    whole = std::min(whole, Milliseconds() - middle);
  }
  const bool met = whole / bare <= kGoal;
  std::printf("%s: decode %.1f ms, analyse %.1f ms, ratio %.3f, goal %.2f: %s\n", name.c_str(),
              bare, whole, whole / bare, kGoal, met ? "met" : "MISSED");
  return met;
}

template <class Meter>
void MeasureMeter(const char* name, const std::vector<float>& samples, Meter meter) {
  constexpr size_t kPiece = CLevelMeter::kMostSamples;
  double best = std::numeric_limits<double>::max();
  for (int round = 0; round < 7; ++round) {
    const double start = Milliseconds();
    for (size_t i = 0; i + kPiece <= samples.size(); i += kPiece) meter(samples.data() + i, kPiece);
    best = std::min(best, Milliseconds() - start);
  }
  std::printf("  %-10s %6.2f ns a sample\n", name,
              best * 1e6 / static_cast<double>(samples.size()));
}

void MeasureMeters(const std::vector<float>& stereo) {
  std::vector<float> samples(stereo.size() / 2);
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = stereo[2 * i];
  CRealFFT fft;
  if (!fft.Init(CChannelAnalyser::kTransform)) return;
  float sum = 0;
  MeasureMeter("plain sum", samples, [&](const float* piece, size_t count) {
    for (size_t i = 0; i < count; ++i) sum += piece[i];
  });
  CLevelMeter levels;
  MeasureMeter("levels", samples, [&](const float* piece, size_t count) {
    levels.BeginBlock();
    levels.Add(piece, count);
  });
  CSilenceMeter silence(kRate);
  MeasureMeter("silence", samples,
               [&](const float* piece, size_t count) { silence.Add(piece, count); });
  CSpectrumMeter spectrum(fft);
  MeasureMeter("spectrum", samples,
               [&](const float* piece, size_t count) { spectrum.Add(piece, count); });
  CClickSearch clicks;
  MeasureMeter("clicks", samples,
               [&](const float* piece, size_t count) { clicks.Add(piece, count); });
  std::printf("  (%g %llu)\n", std::isnan(sum) ? 0.0 : 1.0,
              static_cast<unsigned long long>(clicks.Clicks()));
}

double PeakMiB() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) / 1024;
  return 0;
}

// From here on the peak is the present size.
void ForgetPeak() {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << 5;
}

bool MeasureMemory(const std::string& folder, const std::string& minutes) {
  const std::string hours = folder + "/hours.flac";
  if (std::system(("ffmpeg -v error -nostdin -y -stream_loop 44 -i '" + minutes + "' -c copy '" +
                   hours + "'")
                      .c_str()) != 0)
    return false;
  double peaks[2];
  for (int i = 0; i < 2; ++i) {
    Engine engine;
    ForgetPeak();
    const double start = Milliseconds();
    if (!engine.analyser.Process(i == 0 ? minutes : hours)) return false;
    peaks[i] = PeakMiB();
    const auto info = engine.store.Find(i == 0 ? minutes : hours);
    std::printf("%.1f minutes: %.1f s, peak memory %.1f MiB\n", info->durationMs / 60000.0,
                (Milliseconds() - start) / 1000, peaks[i]);
  }
  const bool flat = peaks[1] < 1.05 * peaks[0];
  std::printf("peak memory is %s\n", flat ? "flat" : "NOT FLAT");
  return flat;
}

int Run(int count, char** files) {
  Engine engine;
  bool met = true;
  for (int i = 1; i < count; ++i) met = MeasureFile(engine, files[i], files[i]) && met;
  if (count > 1) return met ? 0 : 1;

  const test::CTempFolder folder;
  const std::string wav = folder / "tune.wav";
  const std::string mp3 = folder / "tune.mp3";
  const std::string flac = folder / "tune.flac";
  std::vector<float> music = DenseMusic(240);
  test::WriteWav(wav, music, kRate, 2);
  test::Encode(wav, mp3, "-b:a 192k");
  test::Encode(wav, flac);
  met = MeasureFile(engine, "MP3 of 4 minutes", mp3) && met;
  met = MeasureFile(engine, "FLAC of 4 minutes", flac) && met;
  std::printf("meters:\n");
  MeasureMeters(music);
  music = std::vector<float>();
  return MeasureMemory(folder.Path(), flac) && met ? 0 : 1;
}

}  // namespace
}  // namespace quill

int main(int count, char** files) {
  return quill::Run(count, files);
}
