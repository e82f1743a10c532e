// SPDX-License-Identifier: GPL-3.0-or-later
// Pairs a second of the precise score on every compute device of this machine, for some work group
// sizes, against the processor's own code on one core; with the copies there and back, after the
// first job, which some drivers use to compile. Best of several blocks of a thousand candidates.
// The numbers are held against each other; a difference ends the program with 1.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "audio/device_comparison.h"
#include "device/block_shape.h"
#include "device/opencl.h"

namespace {

using namespace quill;

constexpr int kRounds = 5;

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

bool AcquireSoon(COpenCL& device) TRY_ACQUIRE(true, device) {
  for (int attempt = 0; attempt < 6000; ++attempt) {
    if (device.TryAcquire()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

}  // namespace

int main() {
  std::mt19937 random(1);
  std::vector<uint8_t> target(kFileBytes);
  std::vector<uint8_t> candidates(size_t{kBlockCandidates} * kFileBytes);
  for (std::vector<uint8_t>* rows : {&target, &candidates})
    std::generate(rows->begin(), rows->end(), [&] { return static_cast<uint8_t>(random() >> 24); });
  const std::vector<uint32_t> lengths(kBlockCandidates, kRowLongest);

  std::vector<float> expected, found;
  double cpu = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    const Clock::time_point begin = Clock::now();
    if (!Check(target, kRowLongest, candidates, lengths, &expected)) return 1;
    cpu = std::min(cpu, SecondsSince(begin));
  }
  std::printf("one processor core: %.0f pairs/s\n", kBlockCandidates / cpu);

  COpenCL device;
  std::vector<std::string> names;
  if (!device.GetDevices(&names) || names.empty()) {
    std::printf("no compute device\n");
    return 0;
  }
  bool equal = true;
  for (const std::string& name : names) {
    for (const uint64_t size : {32, 64, 128, 256}) {
      if (!device.Reinit(name, size) || !AcquireSoon(device)) {
        std::printf("%s: does not start; the log tells more\n", name.c_str());
        equal = false;
        break;
      }
      double best = 1e9;
      bool done = true;
      for (int round = 0; round <= kRounds && done; ++round) {
        const Clock::time_point begin = Clock::now();
        done = device.Process(target, kRowLongest, candidates, lengths, &found);
        if (round > 0) best = std::min(best, SecondsSince(begin));
      }
      device.Release();
      float difference = done ? 0 : 1;
      for (size_t i = 0; i < expected.size() && done; ++i)
        difference = std::max(difference, std::fabs(found[i] - expected[i]));
      equal = equal && difference < 1e-3F;
      std::printf("%s, groups of %u: %.0f pairs/s, %.2f times a core, greatest difference %.1e\n",
                  name.c_str(), static_cast<unsigned>(size), kBlockCandidates / best, cpu / best,
                  static_cast<double>(difference));
    }
  }
  return equal ? 0 : 1;
}
