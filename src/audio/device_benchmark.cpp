// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/device_benchmark.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <thread>
#include <vector>

#include "audio/device_comparison.h"
#include "device/block_shape.h"

namespace quill {
namespace {

using Outcome = DeviceBenchmark::Outcome;
using Clock = std::chrono::steady_clock;

constexpr int kAttempts = 10;
constexpr float kMostSquaredDifference = 0.001F;

uint32_t Milliseconds(Clock::time_point begin) {
  return static_cast<uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count());
}

uint32_t ClockSeed() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const int64_t microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
  return static_cast<uint32_t>((microseconds / 1000000) ^ (microseconds % 1000000));
}

DeviceBenchmark Failure(Outcome outcome) {
  DeviceBenchmark result;
  result.outcome = outcome;
  result.text = outcome == Outcome::kDeviceError ? "Device error" : "Calculation error";
  return result;
}

}  // namespace

DeviceBenchmark RunDeviceBenchmark(COpenCL& device, const std::string& name, uint64_t workSize) {
  return device.Reinit(name, workSize) ? MeasureDevice(device) : Failure(Outcome::kDeviceError);
}

DeviceBenchmark MeasureDevice(COpenCL& device, std::chrono::milliseconds pause) {
  std::mt19937 random(ClockSeed());
  std::vector<uint8_t> target(kFileBytes);
  std::vector<uint8_t> candidates(size_t{kBlockCandidates} * kFileBytes);
  const std::vector<uint32_t> lengths(kBlockCandidates, kRowLongest);
  for (std::vector<uint8_t>* rows : {&target, &candidates})
    std::generate(rows->begin(), rows->end(), [&] { return static_cast<uint8_t>(random() >> 24); });

  DeviceBenchmark result;
  std::vector<float> found, expected;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!device.TryAcquire()) {
      std::this_thread::sleep_for(pause);
      continue;
    }
    const Clock::time_point begin = Clock::now();
    const bool done = device.Process(target, kRowLongest, candidates, lengths, &found);
    result.deviceMs = Milliseconds(begin);
    device.Release();
    if (!done) return Failure(Outcome::kDeviceError);
    break;
  }
  if (found.empty()) return Failure(Outcome::kDeviceError);

  const Clock::time_point begin = Clock::now();
  const bool checked = Check(target, kRowLongest, candidates, lengths, &expected);
  result.cpuMs = Milliseconds(begin);
  if (!checked || found.size() != expected.size()) return Failure(Outcome::kDeviceError);

  for (size_t i = 0; i < found.size(); ++i) {
    const float difference = found[i] - expected[i];
    // The negation also refuses what is no number.
    if (!(difference * difference <= kMostSquaredDifference))
      return Failure(Outcome::kCalculationError);
  }

  constexpr const char* kMark = " (Lower is better)";
  char text[160];
  std::snprintf(text, sizeof text,
                "Successful\n\nCPU speed (1 core): %ums%s\nOpenCL device speed: %ums%s",
                result.cpuMs, result.cpuMs < result.deviceMs ? kMark : "", result.deviceMs,
                result.deviceMs < result.cpuMs ? kMark : "");
  result.outcome = Outcome::kSuccessful;
  result.text = text;
  return result;
}

}  // namespace quill
