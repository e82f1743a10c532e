// SPDX-License-Identifier: GPL-3.0-or-later
// Appending to a results file: time of one record, and how often it reaches the kernel. The plain
// way beside it is one write per record.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "storage/results_journal.h"

namespace {

using Clock = std::chrono::steady_clock;

double MicrosecondsSince(Clock::time_point start, int count) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / count;
}

long Faults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

}  // namespace

int main() {
  constexpr int kRecords = 500000;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / "quillmarsh-bench-journal";
  std::filesystem::create_directories(folder);
  const std::string first = "/home/somebody/Music/An Artist/An Album/01 - A Title.flac";
  const std::string second = "/home/somebody/Music/Another Artist/Best Of/17 - A Title.mp3";

  double appended = 0;
  uintmax_t size = 0;
  long faults = Faults();
  {
    quill::CResultsJournal journal(nullptr, nullptr, nullptr);
    if (!journal.OpenForWriting(folder / "results.quillmarsh")) return 1;
    const auto start = Clock::now();
    for (int i = 0; i < kRecords; ++i) journal.AddAudioPair(first, second, 0.5F, 0.75F, 1.0F);
    appended = MicrosecondsSince(start, kRecords);
  }
  faults = Faults() - faults;
  size = std::filesystem::file_size(folder / "results.quillmarsh");

  const int file = open((folder / "plain").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (file == -1) return 1;
  const std::string record(size / kRecords, 'x');
  const auto start = Clock::now();
  for (int i = 0; i < kRecords; ++i) {
    if (write(file, record.data(), record.size()) < 0) return 1;
  }
  const double written = MicrosecondsSince(start, kRecords);
  close(file);
  std::filesystem::remove_all(folder);

  std::printf(
      "results record of %zu bytes: %.3f us, one write each %.3f us, ratio 1/%.1f, goal 1 us: %s\n",
      record.size(), appended, written, written / appended, appended < 1 ? "met" : "missed");
  std::printf("  %.1f MiB in windows of 64 KiB, %ld page faults (%.2f per 4 KiB)\n",
              static_cast<double>(size) / (1 << 20), faults,
              static_cast<double>(faults) / (static_cast<double>(size) / 4096));
  return appended < 1 ? 0 : 1;
}
