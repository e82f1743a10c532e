// SPDX-License-Identifier: GPL-3.0-or-later
// The optional compute device. One object lives as long as the program. It loads the OpenCL library
// at run time, so that the program works on a system without it, and prepares a context, a queue
// and three kernels for the device that the user chose by name, on a thread of its own. From then
// on the device is taken by one worker at a time. Whatever fails here only means that the processor
// does the work; the user finds the reason in the log.
//
// Threads: the main thread sets it up (Reinit, Disable, GetDevices, constructor, destructor); the
// start-up thread holds the lock for its whole run; any thread may TryAcquire, and none of them
// ever waits for the lock. A Reinit that changes something does wait, for the start-up or the job
// in progress.
#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/sync.h"
#include "core/thread_priority.h"
#include "device/opencl_functions.h"

namespace quill {

// Holding the device, from TryAcquire to Release, is a capability of its own.
class CAPABILITY("device") COpenCL {
 public:
  static constexpr const char* kLibrary = "libOpenCL.so.1";

  // Never fails: with no library every operation reports and gives false. `giveWay` is the first
  // that the start-up thread calls. Tests name another library, and keep the start-up's priority:
  // the lowest one can take minutes on a machine that is busy.
  explicit COpenCL(const char* library = kLibrary, void (*giveWay)() = &GiveWayToOthers);
  ~COpenCL();
  COpenCL(const COpenCL&) = delete;
  COpenCL& operator=(const COpenCL&) = delete;

  // Chooses a device, by its name in the list of GetDevices, and the work group size. A new name
  // begins the start-up, and the result does not wait for it; a new size alone holds from the next
  // job on; nothing new does nothing. False after a report for an empty name, a size of 0, no
  // library, or a thread that could not be started.
  bool Reinit(const std::string& name, uint64_t size) EXCLUDES(m_lock);
  // Lets go of the device.
  void Disable() EXCLUDES(m_lock);
  // Returns when no start-up is in progress.
  void WaitForStart();
  // All devices, each as "platform - device". False with an empty list when there is no library or
  // no platform, or after a report.
  [[nodiscard]] bool GetDevices(std::vector<std::string>* list) const;

  // True with the device held, until Release. False at once when another has it, when it is in
  // start-up, or when there is none.
  [[nodiscard]] bool TryAcquire() TRY_ACQUIRE(true);
  void Release() RELEASE();
  // The sweeps of a block of files: `targetRows` is one row block (12 rows of 640 bytes) of values
  // a band `targetLength`, `candidateRows` one or more, `lengths` theirs. `out` becomes 4 floats a
  // candidate: the pairs (M, S) with each candidate as the series and the target's middle as the
  // pattern, then those the other way round. A length below that of a pattern gives (0, 0). False
  // after a report.
  [[nodiscard]] bool Process(const std::vector<uint8_t>& targetRows, uint32_t targetLength,
                             const std::vector<uint8_t>& candidateRows,
                             const std::vector<uint32_t>& lengths, std::vector<float>* out)
      REQUIRES(this);

 private:
  enum Kernel : size_t { kPrecalculate, kCorrelate, kResults, kKernels };
  struct Device {
    cl_platform_id platform = nullptr;
    cl_device_id device = nullptr;
    std::string name;
  };
  // Where an enumeration of devices reports; 0 for not at all.
  struct EnumerationLines {
    const char* function;
    int32_t platformCount, platforms, deviceCount, devices;
  };
  class CBuffers;
  class CLaunch;

  static void* ThreadStarter(void* self);
  [[nodiscard]] bool InitContext() EXCLUDES(m_lock);
  [[nodiscard]] bool BuildProgram(const Device& device, cl_program program) REQUIRES(m_lock);
  void QueryKernelLimit(cl_device_id device) REQUIRES(m_lock);
  void LogDecrease() REQUIRES(m_lock);
  // The kernels' source, ended by a zero byte.
  [[nodiscard]] bool LoadKernel(std::vector<char>* source) const REQUIRES(m_lock);
  // Lets go of the device, after a start-up in progress; the lock is released meanwhile.
  void Stop() REQUIRES(m_lock);
  [[nodiscard]] bool EnumerateDevices(const EnumerationLines& lines,
                                      std::vector<Device>* found) const;
  [[nodiscard]] std::string PlatformText(cl_platform_id platform, cl_platform_info what) const;
  [[nodiscard]] std::string DeviceText(cl_device_id device, cl_device_info what) const;

  // The steps of Process.
  [[nodiscard]] bool CreateBuffers(const std::vector<uint8_t>& targetRows,
                                   const std::vector<uint8_t>& candidateRows,
                                   const std::vector<uint32_t>& lengths, CBuffers* buffers) const
      REQUIRES(m_lock);
  [[nodiscard]] bool LaunchKernels(const CBuffers& buffers, uint32_t targetLength,
                                   size_t count) const REQUIRES(m_lock);

  // Constant after construction.
  OpenCLFunctions m_cl;
  void* m_library = nullptr;
  void (*const m_giveWay)();

  mutable CSync m_lock;                // held for the whole of a start-up and of a job
  std::atomic<pthread_t> m_thread{0};  // the start-up thread until it is joined; 0 for none
  // Written by the main thread with the lock held; read by it without, and by others with.
  std::string m_deviceName;
  uint64_t m_workSize = 0;
  bool m_ready GUARDED_BY(m_lock) = false;
  uint64_t m_kernelLimit GUARDED_BY(m_lock) = 0;  // the least that a kernel can be run with
  bool m_imageSupport GUARDED_BY(m_lock) = false;
  cl_context m_context GUARDED_BY(m_lock) = nullptr;
  cl_command_queue m_queue GUARDED_BY(m_lock) = nullptr;
  std::array<cl_kernel, kKernels> m_kernels GUARDED_BY(m_lock){};
};

}  // namespace quill
