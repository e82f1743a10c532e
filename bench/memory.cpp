// SPDX-License-Identifier: GPL-3.0-or-later
// Memory that the duplicates store holds for each long file: prints of full length, texts of usual
// length. The goal is below 24 KiB, so that 100000 files fit in 2.4 GB.
#include <malloc.h>

#include <cstdio>
#include <string>

#include "audio/audio_store.h"

namespace quill {
namespace {

constexpr uint32_t kFiles = 5000;
constexpr double kGoalKiB = 24;

AudioEntry LongFile(const std::string& path) {
  AudioEntry parts;
  auto info = MakeRef<ItemBase>();
  info->path = path;
  info->artist = "An Artist of Usual Length";
  info->album = "The Album on Which It Came Out";
  info->title = "A Title of Usual Length, Too";
  parts.info = info;
  parts.keys = MakeTagKeys(*info);
  auto spectrum = MakeRef<SpectrumPrint>();
  spectrum->skeleton.assign(100, 1);
  spectrum->deflection.assign(10, 1);
  spectrum->spectrum.assign(2048, 1);
  parts.spectrum = spectrum;
  auto bark = MakeRef<BarkPrint>();
  bark->length = kBarkLongest;
  parts.bark = bark;
  return parts;
}

size_t BytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

int Run() {
  CCacheStore cache;
  CScanCounters counters;
  CAudioStore store(cache, counters);
  const size_t before = BytesInUse();
  for (uint32_t i = 0; i < kFiles; ++i) {
    const std::string path = "/home/someone/Music/An Artist of Usual Length/An Album/Track " +
                             std::to_string(i) + ".mp3";
    if (store.File(path, LongFile(path), 0, false) != CAudioStore::Filed::kYes) return 1;
  }
  const double kib = static_cast<double>(BytesInUse() - before) / kFiles / 1024;
  std::printf("store of %u long files: %.2f KiB a file, goal %.0f: %s\n", kFiles, kib, kGoalKiB,
              kib < kGoalKiB ? "met" : "MISSED");
  return kib < kGoalKiB ? 0 : 1;
}

}  // namespace
}  // namespace quill

int main() {
  return quill::Run();
}
