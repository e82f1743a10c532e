// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/opencl.h"

#include <gtest/gtest.h>

#include <thread>

#include "device/block_shape.h"
#include "storage/report_log.h"
#include "support/test_device.h"

namespace quill {
namespace {

class OpenCLTest : public testing::Test {
 protected:
  // A job of three equal files, whose every value is 1.
  static bool ProcessThree(COpenCL& device) {
    std::vector<uint8_t> file(kFileBytes), files;
    for (size_t i = 0; i < file.size(); ++i) file[i] = static_cast<uint8_t>(i * i / 7 + i * 31);
    for (int i = 0; i < 3; ++i) files.insert(files.end(), file.begin(), file.end());
    if (!test::AcquireSoon(device)) return false;
    std::vector<float> out;
    const bool done = device.Process(file, 637, files, {637, 637, 637}, &out);
    device.Release();
    if (!done) return false;
    EXPECT_EQ(out.size(), 12U);
    for (const float value : out) EXPECT_NEAR(value, 1, 1e-5);
    return true;
  }
  // What was logged since the last time holds these lines in this order.
  std::string ExpectLines(const std::vector<std::string>& lines) {
    std::string log = m_log.TakeText();
    size_t position = 0;
    for (const std::string& line : lines) {
      position = log.find("\t" + line + "\r\n", position);
      EXPECT_NE(position, std::string::npos) << line << " in\n" << log;
    }
    return log;
  }

  test::CReportLog m_log;
  test::CDeviceControl m_control;
};

TEST_F(OpenCLTest, WithoutALibraryEverythingIsRefused) {
  // One that is not there, and one that has none of the functions.
  for (const char* library : {"libno-such-library.so.1", "libm.so.6"}) {
    COpenCL device(library);
    std::vector<std::string> names = {"left over"};
    EXPECT_FALSE(device.GetDevices(&names));
    EXPECT_TRUE(names.empty());
    EXPECT_FALSE(device.Reinit("Some - Device", 64));
    EXPECT_FALSE(device.TryAcquire());
    device.Disable();
    ExpectLines({"Reinit:197 failed [false]"});
  }
}

std::atomic<pthread_t> g_gaveWay{0};

TEST_F(OpenCLTest, StartsTheDeviceOfThatNameOnly) {
  COpenCL device(FAKE_OPENCL, [] { g_gaveWay = pthread_self(); });
  EXPECT_FALSE(device.Reinit("", 64));
  const std::string name = test::DeviceName(device);
  EXPECT_FALSE(device.Reinit(name, 0));
  EXPECT_TRUE(device.Reinit(name + "x", 64));
  device.WaitForStart();
  EXPECT_FALSE(device.TryAcquire());
  ExpectLines({"Reinit:196 failed [false]", "Reinit:196 failed [false]", "No OpenCL device"});
  EXPECT_TRUE(g_gaveWay != 0 && g_gaveWay != pthread_self()) << "the start-up, and nobody else";

  EXPECT_TRUE(device.Reinit(name, 64));
  EXPECT_TRUE(ProcessThree(device));
  ExpectLines({"OpenCL: " + name, "OpenCL: Work group size 64", "OpenCL ready..."});
  device.Disable();
  EXPECT_FALSE(device.TryAcquire());
  EXPECT_EQ(m_control->objects, 0);
}

TEST_F(OpenCLTest, ANewSizeNeedsNoNewStart) {
  m_control->kernelLimit = 48;
  test::CTestDevice device;
  const std::string name = test::DeviceName(device);
  const int builds = m_control->builds;
  ASSERT_TRUE(device.Reinit(name, 64));
  EXPECT_TRUE(ProcessThree(device));
  const std::string decrease =
      "Decreasing OpenCL work size to 48, kernel limitation (CL_KERNEL_WORK_GROUP_SIZE)";
  ExpectLines({"OpenCL: Work group size 64", decrease, "OpenCL ready..."});
  EXPECT_TRUE(device.Reinit(name, 64));
  EXPECT_EQ(ExpectLines({}).find("OpenCL"), std::string::npos);
  EXPECT_TRUE(device.Reinit(name, 16));
  if (!device.TryAcquire()) FAIL() << "no longer ready";
  // One holder at a time.
  bool second = true;
  std::thread([&]() NO_THREAD_SAFETY_ANALYSIS { second = device.TryAcquire(); }).join();
  EXPECT_FALSE(second);
  device.Release();
  EXPECT_TRUE(ProcessThree(device));
  EXPECT_TRUE(device.Reinit(name, 48));
  EXPECT_TRUE(device.Reinit(name, 50));
  const std::string log = ExpectLines({"OpenCL: Work group size 16", "OpenCL: Work group size 48",
                                       "OpenCL: Work group size 50", decrease});
  EXPECT_EQ(log.find(decrease), log.rfind(decrease)) << "48 is no decrease";
  EXPECT_EQ(m_control->builds, builds + 1);
}

TEST_F(OpenCLTest, AFailedStartIsToldAndLeavesNothingBehind) {
  struct Case {
    const char* function;
    int passes;
    const char* line;
    const char* call = nullptr;  // as it is told
  };
  // The name of the device takes two calls of the first function, and two of the second.
  const Case cases[] = {
      {"clGetPlatformIDs", 2, "InitContext:302"},
      {"clGetPlatformIDs", 3, "InitContext:306"},
      {"clGetDeviceIDs", 2, "InitContext:314"},
      {"clGetDeviceIDs", 3, "InitContext:320"},
      {"clCreateContext", 0, "InitContext:367", "clContext()"},
      {"clCreateCommandQueue", 0, "InitContext:374", "clCreateCommandQueue()"},
      {"clCreateProgramWithSource", 0, "InitContext:385", "clCreateProgramWithSource()"},
      {"clBuildProgram", 0, "InitContext:396"},
      {"clCreateKernel", 0, "InitContext:403", "clCreateKernel()"},
      {"clCreateKernel", 2, "InitContext:415", "clCreateKernel()"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.function << " after " << c.passes);
    test::CTestDevice device;
    m_control.FailAfter(c.function, c.passes);
    EXPECT_TRUE(device.Reinit(test::DeviceName(device), 64));
    device.Disable();
    EXPECT_FALSE(device.TryAcquire());
    std::vector<std::string> lines = {std::string(c.line) + " failed [false]"};
    if (c.call) lines.insert(lines.begin(), std::string(c.call) + " FAILED, with error: -5");
    const std::string log = ExpectLines(lines);
    if (c.function == std::string_view("clBuildProgram")) {
      EXPECT_NE(log.find("clBuildProgram() FAILED, with error: -"), std::string::npos);
      EXPECT_NE(log.find("error:"), log.rfind("error:")) << "the compiler's own words in " << log;
    }
    EXPECT_EQ(m_control->objects, 0);
    m_control.Reset();
  }
}

TEST_F(OpenCLTest, AFailedJobLeavesTheDeviceReady) {
  for (const bool images : {true, false}) {
    m_control->noImages = !images;
    test::CTestDevice device;
    ASSERT_TRUE(device.Reinit(test::DeviceName(device), 64));
    ASSERT_TRUE(ProcessThree(device));
    const int objects = m_control->objects;
    struct Case {
      const char* function;
      int passes, line;
    };
    std::vector<Case> cases = {{"clSetKernelArg", 0, 527},
                               {"clSetKernelArg", 11, 539},
                               {"clSetKernelArg", 39, 569},
                               {"clEnqueueNDRangeKernel", 0, 538},
                               {"clEnqueueNDRangeKernel", 3, 570},
                               {"clEnqueueReadBuffer", 0, 588},
                               {"clFinish", 0, 590}};
    if (images)
      cases.insert(cases.end(), {{"clCreateImage2D", 0, 488},
                                 {"clCreateImage2D", 1, 490},
                                 {"clCreateBuffer", 0, 501},
                                 {"clCreateBuffer", 8, 519}});
    else
      cases.insert(
          cases.end(),
          {{"clCreateBuffer", 0, 495}, {"clCreateBuffer", 1, 497}, {"clCreateBuffer", 10, 519}});
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << c.function << " after " << c.passes);
      (void)m_log.TakeText();
      m_control.FailAfter(c.function, c.passes);
      EXPECT_FALSE(ProcessThree(device));
      m_control.FailAfter(nullptr, 0);
      ExpectLines({"Process:" + std::to_string(c.line) + " failed [false]"});
      EXPECT_EQ(m_control->objects, objects);
    }
    EXPECT_TRUE(ProcessThree(device));
  }
}

}  // namespace
}  // namespace quill
