// SPDX-License-Identifier: GPL-3.0-or-later
// The proof that a compute device and its kernels work: one full block of noise goes through the
// device and through the processor, the numbers are held against each other, and both times are
// told. Nothing is kept afterwards.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "device/opencl.h"

namespace quill {

struct DeviceBenchmark {
  enum class Outcome { kSuccessful, kDeviceError, kCalculationError };

  Outcome outcome = Outcome::kDeviceError;
  std::string text;       // for the user; lines are parted by LF
  uint32_t cpuMs = 0;     // one core; both times 0 unless successful
  uint32_t deviceMs = 0;  // with the copies there and back
};

// Chooses the device as COpenCL::Reinit does, and measures it. Main thread; waits up to ten seconds
// for a device in start-up or at work.
[[nodiscard]] DeviceBenchmark RunDeviceBenchmark(COpenCL& device, const std::string& name,
                                                 uint64_t workSize);
// The second part alone, for a device that has been chosen. Any thread, so that a window can show
// meanwhile that something goes on.
[[nodiscard]] DeviceBenchmark MeasureDevice(
    COpenCL& device, std::chrono::milliseconds pause = std::chrono::seconds(1));

}  // namespace quill
