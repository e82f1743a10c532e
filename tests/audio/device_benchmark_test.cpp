// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/device_benchmark.h"

#include <gtest/gtest.h>

#include "support/test_device.h"

namespace quill {
namespace {

using Outcome = DeviceBenchmark::Outcome;

TEST(DeviceBenchmark, TellsTheTimesOfARightDeviceAndTheFaultOfAnother) {
  const test::CDeviceControl control;
  test::CTestDevice device;
  const std::string name = test::DeviceName(device);
  ASSERT_TRUE(device.Reinit(name, 64));
  device.WaitForStart();
  const DeviceBenchmark good = RunDeviceBenchmark(device, name, 64);
  EXPECT_EQ(good.outcome, Outcome::kSuccessful) << good.text;
  const std::string mark = " (Lower is better)";
  EXPECT_EQ(good.text, "Successful\n\nCPU speed (1 core): " + std::to_string(good.cpuMs) + "ms" +
                           (good.cpuMs < good.deviceMs ? mark : "") +
                           "\nOpenCL device speed: " + std::to_string(good.deviceMs) + "ms" +
                           (good.deviceMs < good.cpuMs ? mark : ""));

  control->wrong = true;
  const DeviceBenchmark wrong = RunDeviceBenchmark(device, name, 64);
  EXPECT_EQ(wrong.outcome, Outcome::kCalculationError);
  EXPECT_EQ(wrong.text, "Calculation error");
  control.Reset();

  control.FailAfter("clEnqueueNDRangeKernel", 2);
  const DeviceBenchmark broken = RunDeviceBenchmark(device, name, 64);
  EXPECT_EQ(broken.outcome, Outcome::kDeviceError);
  EXPECT_EQ(broken.text, "Device error");
  control.Reset();

  EXPECT_EQ(RunDeviceBenchmark(device, "", 64).text, "Device error");
  device.Disable();
  EXPECT_EQ(MeasureDevice(device, std::chrono::milliseconds(1)).text, "Device error");
}

}  // namespace
}  // namespace quill
