// SPDX-License-Identifier: GPL-3.0-or-later
// Orders for the library fake_opencl, which stands between the program and the real OpenCL library:
// a test takes them by dlsym of "g_fakeOpenCL" from the library that the program has opened too.
#pragma once

#include <atomic>
#include <cstddef>

namespace quill::test {

struct FakeOpenCL {
  std::atomic<bool> noImages{false};          // the device has no images
  std::atomic<size_t> kernelLimit{0};         // CL_KERNEL_WORK_GROUP_SIZE, unless 0
  std::atomic<const char*> failing{nullptr};  // the function that fails, null for none
  std::atomic<int> passes{0};                 // its calls that still succeed
  std::atomic<bool> wrong{false};             // what is read back is not what was computed
  std::atomic<int> objects{0};                // made and not released
  std::atomic<int> builds{0};
};

}  // namespace quill::test
