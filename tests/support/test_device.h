// SPDX-License-Identifier: GPL-3.0-or-later
// The compute device that tests run on: a software one, from the package pocl-opencl-icd, reached
// through the library fake_opencl. Its compiled kernels are kept in the build folder.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "device/opencl.h"
#include "support/fake_opencl/control.h"

namespace quill::test {

// Orders to the library for the length of a test.
class CDeviceControl {
 public:
  CDeviceControl() {
    // Before the first call of the library.
    setenv("POCL_CACHE_DIR", DEVICE_CACHE, 1);
    m_library = dlopen(FAKE_OPENCL, RTLD_NOW | RTLD_LOCAL);
    m_fake =
        m_library == nullptr ? nullptr : static_cast<FakeOpenCL*>(dlsym(m_library, "g_fakeOpenCL"));
    if (m_fake == nullptr) {
      ADD_FAILURE() << "no OpenCL library to test with: " << dlerror();
      std::abort();
    }
    Reset();
  }
  ~CDeviceControl() {
    Reset();
    dlclose(m_library);
  }
  CDeviceControl(const CDeviceControl&) = delete;
  CDeviceControl& operator=(const CDeviceControl&) = delete;

  FakeOpenCL* operator->() const { return m_fake; }
  // The next call but `passes` of `function`, and every later one, fails.
  void FailAfter(const char* function, int passes) const {
    m_fake->passes = passes;
    m_fake->failing = function;
  }
  void Reset() const {
    m_fake->failing = nullptr;
    m_fake->noImages = false;
    m_fake->wrong = false;
    m_fake->kernelLimit = 0;
  }

 private:
  void* m_library = nullptr;
  FakeOpenCL* m_fake = nullptr;
};

// The first device's name; empty, and a failed test, when there is none.
inline std::string DeviceName(const COpenCL& device) {
  std::vector<std::string> names;
  EXPECT_TRUE(device.GetDevices(&names)) << "is pocl-opencl-icd installed?";
  return names.empty() ? std::string() : names.front();
}

// A device whose start-up has the priority of any thread of a test.
class CTestDevice : public COpenCL {
 public:
  CTestDevice() : COpenCL(FAKE_OPENCL, [] {}) {}
};

// True with the device held; false when its start-up has come to no good end. However long that
// takes: a compiler on a busy machine is no fault.
[[nodiscard]] inline bool AcquireSoon(COpenCL& device) TRY_ACQUIRE(true, device) {
  device.WaitForStart();
  return device.TryAcquire();
}

}  // namespace quill::test
