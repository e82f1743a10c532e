// SPDX-License-Identifier: GPL-3.0-or-later
// What a file that is no sound costs a worker whose decoder process is running: from taking the
// path to having the refusal, file name and content as they lie about in music folders.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "audio/audio_store.h"
#include "core/scan_counters.h"
#include "decoding/decoder_table.h"
#include "storage/cache_store.h"
#include "storage/ignore_list.h"
#include "workers/scan_engines.h"

namespace {

class CNoPairs : public quill::CAudioPairSink,
                 public quill::CImagePairSink,
                 public quill::CAnalysisSink {
 public:
  bool LockedAdd(const quill::CRef<const quill::AnalysisInfo>&) override { return true; }
  bool LockedAdd(quill::CImagePairSink::Found) override { return true; }
  bool LockedAdd(quill::CAudioPairSink::Found) override { return true; }
};

void MakeFile(const std::string& path, size_t size, uint32_t seed) {
  std::ofstream file(path, std::ios::binary);
  for (size_t i = 0; i < size; ++i) {
    seed = seed * 1664525 + 1013904223;
    // Seed 0 of the caller gives text, others give noise.
    file.put(static_cast<char>(path.ends_with(".txt") ? 'a' + (seed >> 24) % 26 : seed >> 24));
  }
}

}  // namespace

int main() {
  using Clock = std::chrono::steady_clock;
  std::signal(SIGPIPE, SIG_IGN);
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / "quillmarsh-bench-refusal";
  std::filesystem::create_directories(folder);
  const std::string files[] = {folder / "notes.txt", folder / "noise.bin", folder / "noise.mp3",
                               folder / "small.nfo"};
  MakeFile(files[0], 200000, 1);
  MakeFile(files[1], 2000000, 2);
  MakeFile(files[2], 2000000, 3);
  MakeFile(files[3], 300, 4);

  quill::CCacheStore cache;
  quill::CScanCounters counters;
  quill::CAudioStore audioStore(cache, counters);
  quill::CImageStore imageStore(cache, counters);
  quill::CAnalysisStore analysisStore(cache);
  const quill::CIgnoreList ignores;
  const quill::CScanSettings settings;
  CNoPairs sink;
  quill::CDecoderTable::Instance().Reload();
  quill::CScanEngines engines(quill::CDecoderTable::Instance(), settings, ignores, audioStore, sink,
                              imageStore, sink, analysisStore, sink);

  for (const std::string& file : files) {
    std::vector<double> times;
    for (int i = 0; i < 500; ++i) {
      const auto start = Clock::now();
      if (engines.ProcessFile(file, 0, false)) {
        std::printf("%s was not refused\n", file.c_str());
        return 1;
      }
      times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    std::printf("refusal of %-9s median %7.1f us, worst of 500 %8.1f us (asked: under 1000)\n",
                std::filesystem::path(file).filename().c_str(), times[times.size() / 2],
                times.back());
  }
  std::filesystem::remove_all(folder);
  return 0;
}
