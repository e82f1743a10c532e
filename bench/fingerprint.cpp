// SPDX-License-Identifier: GPL-3.0-or-later
// What a scan adds to the bare decoding of a file, and what a pair costs that is cut early.
//
// 1. PrepareFile of a three-minute MP3, from opening to filing, against the same decoder process
//    decoding the same minute through the same client with nothing behind it.
// 2. The prints alone, stage by stage.
// 3. The walk over 20000 files all of which the duration gate cuts, and by tags only.
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <random>
#include <string>

#include "audio/audio_comparer.h"
#include "support/media_maker.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

constexpr double kGoal = 1.25;

double Milliseconds() {
  using namespace std::chrono;
  return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

class CNoSink : public CAudioPairSink {
 public:
  bool LockedAdd(Found) override {
    ++m_count;
    return true;
  }
  uint32_t m_count = 0;
};

struct Engine {
  explicit Engine(std::string program = {}) : link(table, std::move(program)) { table.Reload(); }
  CDecoderTable table;
  CProcessLink link;
  CAudioDecoder decoder{link};
  CCacheStore cache;
  CScanCounters counters;
  CAudioStore store{cache, counters};
  CIgnoreList ignores;
  AudioSettings settings;
  CNoSink sink;
  CAudioComparer comparer{decoder, store, ignores, settings, sink};
};

// Opens, takes blocks up to 60 s of sound, closes. False when the decoder does not play along.
bool DecodeOnly(CAudioDecoder& decoder, const std::string& path) {
  wire::AudioInfo info;
  AudioFormat format;
  if (decoder.Open(path, wire::kRefuseVideo) != kDecodeOk || decoder.GetInfo(&info) != kDecodeOk ||
      decoder.GetFormat(&format) != kDecodeOk)
    return false;
  const uint64_t wanted = uint64_t{60} * format.sampleRate * FrameSize(format);
  for (uint64_t got = 0; got < wanted;) {
    const uint8_t* block = nullptr;
    uint32_t size = 0;
    if (decoder.GetData(&block, &size) != kDecodeOk || size == 0) return false;
    got += size;
  }
  return decoder.Close() == kDecodeOk;
}

bool MeasureFile() {
  const test::CTempFolder folder;
  const std::string wav = folder / "tune.wav";
  const std::string mp3 = folder / "tune.mp3";
  test::WriteWav(wav, test::Music(1, 180, 44100), 44100, 2);
  test::Encode(wav, mp3, "-b:a 128k -metadata title=Tune");

  Engine engine;
  if (!engine.cache.Load(folder / "cache.dat")) return false;
  constexpr uint32_t kRequest = CAudioComparer::kSpectrum | CAudioComparer::kBark |
                                CAudioComparer::kCorrelogram | CAudioComparer::kKeys;
  double bare = std::numeric_limits<double>::max();
  double whole = bare;
  for (int round = 0; round < 40; ++round) {
    const double start = Milliseconds();
    if (!DecodeOnly(engine.decoder, mp3)) return false;
    const double middle = Milliseconds();
    engine.store.ClearEntries();
    if (!engine.comparer.PrepareFile(mp3, 0, kRequest)) return false;
    bare = std::min(bare, middle - start);
    whole = std::min(whole, Milliseconds() - middle);
  }
  std::printf(
      "MP3 of 3 minutes: decode 60 s %.1f ms, open to filed %.1f ms, ratio %.3f, goal %.2f: %s\n",
      bare, whole, whole / bare, kGoal, whole / bare <= kGoal ? "met" : "MISSED");
  return whole / bare <= kGoal;
}

template <class Stage>
void MeasureStage(const char* name, Stage stage) {
  double best = std::numeric_limits<double>::max();
  bool ok = true;
  for (int round = 0; round < 12; ++round) {
    const double start = Milliseconds();
    ok = stage() && ok;
    best = std::min(best, Milliseconds() - start);
  }
  std::printf("  %-24s %7.2f ms%s\n", name, best, ok ? "" : " FAILED");
}

void MeasureStages() {
  const std::vector<float> music = test::Music(1, 60, kPrintRate, 1);
  CSoundPrint sound;
  CFloatVector samples(music.begin(), music.end());
  sound.SetSamples(samples);
  CFloatVector spectrum, deflection, skeleton;
  CByteVector correlogram;
  BarkPrint bark;
  MeasureStage("start of the sound",
               [&] { return CSoundPrint::FindStart(samples, 0.05F) == 0 || true; });
  MeasureStage("spectrum, deflection",
               [&] { return sound.CalculateFFTDeflection(&spectrum, &deflection); });
  MeasureStage("skeleton", [&] { return sound.CalculateSkeleton(&skeleton); });
  MeasureStage("Bark", [&] { return sound.AnalyseSound(&bark); });
  samples.resize(kLongSound - 1);
  sound.SetSamples(samples);
  MeasureStage("correlogram", [&] { return sound.CalculateCorrelogram(&correlogram); });
}

AudioEntry Named(const std::string& path, const std::string& title, uint32_t durationMs) {
  auto info = MakeRef<ItemBase>();
  info->path = path;
  info->artist = "Some Artist";
  info->title = title;
  info->durationMs = durationMs;
  AudioEntry parts;
  parts.info = info;
  parts.keys = MakeTagKeys(*info);
  return parts;
}

// Walks from the last of `files` entries, in nanoseconds a pair.
double PairCost(uint32_t files, uint32_t lastMs, bool durationOn) {
  Engine engine("none");
  engine.settings.Configure(true, false, false, durationOn, true, 1, 1, 1, 0.7F);
  std::mt19937 random(1);
  for (uint32_t i = 0; i < files; ++i) {
    std::string title;
    for (int letter = 0; letter < 16; ++letter) title += static_cast<char>('a' + random() % 26);
    const std::string path = "/music/" + title + ".mp3";
    const AudioEntry parts = Named(path, title, i + 1 < files ? 200000 : lastMs);
    if (engine.store.File(path, parts, 0, false) != CAudioStore::Filed::kYes) return 0;
    if (i + 1 < files) continue;
    double best = std::numeric_limits<double>::max();
    for (int round = 0; round < 8; ++round) {
      const double start = Milliseconds();
      if (!engine.comparer.CompareFile(path)) return 0;
      best = std::min(best, Milliseconds() - start);
    }
    return best * 1e6 / (files - 1);
  }
  return 0;
}

}  // namespace
}  // namespace quill

int main() {
  const bool met = quill::MeasureFile();
  std::printf("stages, 60 s of sound:\n");
  quill::MeasureStages();
  std::printf("walk, pair cut by duration: %.2f ns\n", quill::PairCost(20000, 100000, true));
  std::printf("walk, pair compared by tags: %.0f ns\n", quill::PairCost(20000, 200000, true));
  return met ? 0 : 1;
}
