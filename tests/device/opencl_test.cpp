#include "device/opencl.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "core/log.h"
#include "device/block_shape.h"
#include "support/temp_folder.h"
#include "support/test_device.h"

namespace quill {
namespace {

class OpenCLTest : public testing::Test {
 protected:
  OpenCLTest() { CLog::Instance().SetFolder(m_folder / "logs"); }
  ~OpenCLTest() override { CLog::Instance().SetFolder({}); }

  // All lines since the last call.
  std::string Log() {
    CLog::Instance().SetFolder(m_folder / "logs");
    std::string text;
    for (const auto& file : std::filesystem::directory_iterator(m_folder / "logs")) {
      text += test::ReadAll(file.path());
      std::filesystem::remove(file.path());
    }
    return text;
  }
  static bool IsReady(COpenCL& device) {
    if (!test::AcquireSoon(device)) return false;
    device.Release();
    return true;
  }
  // Waits for the end of a start-up that must not succeed.
  static bool StaysIdle(COpenCL& device) {
    device.Disable();
    return !test::AcquireSoon(device, std::chrono::seconds(0));
  }
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
  void ExpectLines(const std::string& log, const std::vector<std::string>& lines) {
    size_t position = 0;
    for (const std::string& line : lines) {
      position = log.find("\t" + line + "\r\n", position);
      ASSERT_NE(position, std::string::npos) << line << " in\n" << log;
    }
  }

  test::CTempFolder m_folder;
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
    ExpectLines(Log(), {"Reinit:197 failed [false]"});
  }
}

TEST_F(OpenCLTest, StartsTheDeviceOfThatNameOnly) {
  COpenCL device(FAKE_OPENCL);
  EXPECT_FALSE(device.Reinit("", 64));
  const std::string name = test::DeviceName(device);
  EXPECT_FALSE(device.Reinit(name, 0));
  EXPECT_TRUE(device.Reinit(name + "x", 64));
  EXPECT_TRUE(StaysIdle(device));
  ExpectLines(Log(),
              {"Reinit:196 failed [false]", "Reinit:196 failed [false]", "No OpenCL device"});

  EXPECT_TRUE(device.Reinit(name, 64));
  EXPECT_TRUE(ProcessThree(device));
  ExpectLines(Log(), {"OpenCL: " + name, "OpenCL: Work group size 64", "OpenCL ready..."});
  device.Disable();
  EXPECT_FALSE(device.TryAcquire());
  EXPECT_EQ(m_control->objects, 0);
}

TEST_F(OpenCLTest, ANewSizeNeedsNoNewStart) {
  m_control->kernelLimit = 48;
  COpenCL device(FAKE_OPENCL);
  const std::string name = test::DeviceName(device);
  const int builds = m_control->builds;
  ASSERT_TRUE(device.Reinit(name, 64));
  EXPECT_TRUE(ProcessThree(device));
  const std::string decrease =
      "Decreasing OpenCL work size to 48, kernel limitation (CL_KERNEL_WORK_GROUP_SIZE)";
  ExpectLines(Log(), {"OpenCL: Work group size 64", decrease, "OpenCL ready..."});
  EXPECT_TRUE(device.Reinit(name, 64));
  EXPECT_EQ(Log().find("OpenCL"), std::string::npos);
  EXPECT_TRUE(device.Reinit(name, 16));
  if (!device.TryAcquire()) FAIL() << "no longer ready";
  device.Release();
  EXPECT_TRUE(ProcessThree(device));
  EXPECT_TRUE(device.Reinit(name, 50));
  ExpectLines(Log(), {"OpenCL: Work group size 16", "OpenCL: Work group size 50", decrease});
  EXPECT_EQ(m_control->builds, builds + 1);
}

TEST_F(OpenCLTest, OneHolderAtATime) {
  COpenCL device(FAKE_OPENCL);
  ASSERT_TRUE(device.Reinit(test::DeviceName(device), 64));
  if (!test::AcquireSoon(device)) FAIL();
  bool second = true;
  std::thread([&]() NO_THREAD_SAFETY_ANALYSIS { second = device.TryAcquire(); }).join();
  EXPECT_FALSE(second);
  device.Release();
  EXPECT_TRUE(IsReady(device));
}

TEST_F(OpenCLTest, AFailedStartIsToldAndLeavesNothingBehind) {
  struct Case {
    const char* function;
    int passes;
    std::vector<std::string> lines;
  };
  // The name of the device takes two calls of the first function, and two of the second.
  const Case cases[] = {
      {"clGetPlatformIDs", 2, {"InitContext:302 failed [false]"}},
      {"clGetPlatformIDs", 3, {"InitContext:306 failed [false]"}},
      {"clGetDeviceIDs", 2, {"InitContext:314 failed [false]"}},
      {"clGetDeviceIDs", 3, {"InitContext:320 failed [false]"}},
      {"clCreateContext",
       0,
       {"clContext() FAILED, with error: -5", "InitContext:367 failed [false]"}},
      {"clCreateCommandQueue",
       0,
       {"clCreateCommandQueue() FAILED, with error: -5", "InitContext:374 failed [false]"}},
      {"clCreateProgramWithSource",
       0,
       {"clCreateProgramWithSource() FAILED, with error: -5", "InitContext:385 failed [false]"}},
      {"clBuildProgram", 0, {"InitContext:396 failed [false]"}},
      {"clCreateKernel",
       0,
       {"clCreateKernel() FAILED, with error: -5", "InitContext:403 failed [false]"}},
      {"clCreateKernel", 2, {"InitContext:415 failed [false]"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.function << " after " << c.passes);
    COpenCL device(FAKE_OPENCL);
    m_control.FailAfter(c.function, c.passes);
    EXPECT_TRUE(device.Reinit(test::DeviceName(device), 64));
    EXPECT_TRUE(StaysIdle(device));
    const std::string log = Log();
    ExpectLines(log, c.lines);
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
    COpenCL device(FAKE_OPENCL);
    ASSERT_TRUE(device.Reinit(test::DeviceName(device), 64));
    ASSERT_TRUE(ProcessThree(device));
    const int objects = m_control->objects;
    struct Case {
      const char* function;
      int passes;
      const char* report;
    };
    std::vector<Case> cases = {{"clSetKernelArg", 0, "Process:527"},
                               {"clSetKernelArg", 11, "Process:539"},
                               {"clSetKernelArg", 39, "Process:569"},
                               {"clEnqueueNDRangeKernel", 0, "Process:538"},
                               {"clEnqueueNDRangeKernel", 3, "Process:570"},
                               {"clEnqueueReadBuffer", 0, "Process:588"},
                               {"clFinish", 0, "Process:590"}};
    if (images) {
      cases.push_back({"clCreateImage2D", 0, "Process:488"});
      cases.push_back({"clCreateImage2D", 1, "Process:490"});
      cases.push_back({"clCreateBuffer", 0, "Process:501"});
      cases.push_back({"clCreateBuffer", 8, "Process:519"});
    } else {
      cases.push_back({"clCreateBuffer", 0, "Process:495"});
      cases.push_back({"clCreateBuffer", 1, "Process:497"});
      cases.push_back({"clCreateBuffer", 10, "Process:519"});
    }
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << c.function << " after " << c.passes);
      (void)Log();
      m_control.FailAfter(c.function, c.passes);
      EXPECT_FALSE(ProcessThree(device));
      m_control.FailAfter(nullptr, 0);
      ExpectLines(Log(), {std::string(c.report) + " failed [false]"});
      EXPECT_EQ(m_control->objects, objects);
    }
    EXPECT_TRUE(ProcessThree(device));
  }
}

}  // namespace
}  // namespace quill
