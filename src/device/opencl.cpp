// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/opencl.h"

#include <dlfcn.h>

#include <algorithm>

#include "core/log.h"
#include "core/system_error.h"
#include "device/kernel_sources.h"

namespace quill {
namespace {

constexpr const char* kOptions = "-cl-fast-relaxed-math -w";
constexpr size_t kLongestBuildLog = 4096;
constexpr cl_int kNoPlatform = -1001;  // of the loader, when no platform is installed

void LogText(std::string_view text) {
  CLogLine().Append(text);
}

void LogError(const char* call, cl_int error) {
  CLogLine().Append(call).Append(" FAILED, with error: ").AppendInteger(error);
}

void CL_CALLBACK ContextError(const char* message, const void*, size_t, void*) {
  CLogLine().Append("OpenCL error: ").Append(message);
}

// The text that a query of size, then of content, gives; "NULL" when it fails.
template <class Query>
std::string QueriedText(Query query) {
  size_t size = 0;
  if (query(0, nullptr, &size) != CL_SUCCESS) return "NULL";
  std::string text(size, '\0');
  if (query(size, text.data(), nullptr) != CL_SUCCESS) return "NULL";
  return text.substr(0, text.find('\0'));
}

}  // namespace

COpenCL::COpenCL(const char* library, void (*giveWay)())
    : m_library(LoadOpenCL(library, &m_cl)), m_giveWay(giveWay) {}

COpenCL::~COpenCL() {
  CSyncLock lock(m_lock);
  Stop();
  if (m_library != nullptr) dlclose(m_library);
}

bool COpenCL::Reinit(const std::string& name, uint64_t size) {
  if (name.empty() || size == 0) return CSystemError::Bool("Reinit", 196, false);
  if (m_library == nullptr) return CSystemError::Bool("Reinit", 197, false);
  // Outside the lock, so that settings that were only looked at do not wait for a job.
  if (name == m_deviceName && size == m_workSize) return true;
  CSyncLock lock(m_lock);
  m_workSize = size;
  if (name == m_deviceName) {
    LogText("OpenCL: Work group size " + std::to_string(size));
    LogDecrease();
    return true;
  }
  Stop();
  m_deviceName = name;
  pthread_t thread{};
  if (pthread_create(&thread, nullptr, &ThreadStarter, this) != 0) {
    m_deviceName.clear();
    return CSystemError::Bool("Reinit", 227, false);
  }
  m_thread.store(thread);
  return true;
}

void COpenCL::Disable() {
  if (m_deviceName.empty()) return;
  CSyncLock lock(m_lock);
  Stop();
  m_deviceName.clear();
  m_workSize = 0;
  m_kernelLimit = 0;
}

void COpenCL::WaitForStart() {
  if (const pthread_t thread = m_thread.exchange(0)) pthread_join(thread, nullptr);
}

void COpenCL::Stop() {
  m_lock.Unlock();
  WaitForStart();
  m_lock.Lock();
  m_ready = false;
  for (cl_kernel& kernel : m_kernels) {
    if (kernel != nullptr) m_cl.clReleaseKernel(kernel);
    kernel = nullptr;
  }
  if (m_queue != nullptr) m_cl.clReleaseCommandQueue(m_queue);
  m_queue = nullptr;
  if (m_context != nullptr) m_cl.clReleaseContext(m_context);
  m_context = nullptr;
}

bool COpenCL::GetDevices(std::vector<std::string>* list) const {
  list->clear();
  std::vector<Device> found;
  if (m_library == nullptr || !EnumerateDevices({"GetDevices", 0, 617, 622, 628}, &found))
    return false;
  for (Device& device : found) list->push_back(std::move(device.name));
  return true;
}

bool COpenCL::TryAcquire() NO_THREAD_SAFETY_ANALYSIS {
  if (!m_lock.TryLock()) return false;
  if (m_ready) return true;
  m_lock.Unlock();
  return false;
}

void COpenCL::Release() NO_THREAD_SAFETY_ANALYSIS {
  m_lock.Unlock();
}

void* COpenCL::ThreadStarter(void* self) {
  if (self == nullptr) {
    CSystemError::Bool("ThreadStarter", 448, false);
    return nullptr;
  }
  COpenCL& device = *static_cast<COpenCL*>(self);
  device.m_giveWay();
  (void)device.InitContext();
  return nullptr;
}

bool COpenCL::EnumerateDevices(const EnumerationLines& lines, std::vector<Device>* found) const {
  const auto report = [&](int32_t line) {
    return line == 0 ? false : CSystemError::Bool(lines.function, line, false);
  };
  cl_uint count = 0;
  cl_int error = m_cl.clGetPlatformIDs(0, nullptr, &count);
  if (error == kNoPlatform) return false;
  if (error != CL_SUCCESS) return report(lines.platformCount);
  if (count == 0) return false;
  std::vector<cl_platform_id> platforms(count);
  if (m_cl.clGetPlatformIDs(count, platforms.data(), nullptr) != CL_SUCCESS)
    return report(lines.platforms);

  for (const cl_platform_id platform : platforms) {
    error = m_cl.clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 0, nullptr, &count);
    // A driver whose hardware is not in this machine.
    if (error == CL_DEVICE_NOT_FOUND) continue;
    if (error != CL_SUCCESS) return report(lines.deviceCount);
    if (count == 0) continue;
    const std::string name = PlatformText(platform, CL_PLATFORM_NAME);
    std::vector<cl_device_id> devices(count);
    if (m_cl.clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, count, devices.data(), nullptr) !=
        CL_SUCCESS)
      return report(lines.devices);
    for (const cl_device_id device : devices)
      found->push_back({platform, device, name + " - " + DeviceText(device, CL_DEVICE_NAME)});
  }
  return true;
}

std::string COpenCL::PlatformText(cl_platform_id platform, cl_platform_info what) const {
  return QueriedText([&](size_t room, void* text, size_t* size) {
    return m_cl.clGetPlatformInfo(platform, what, room, text, size);
  });
}

std::string COpenCL::DeviceText(cl_device_id device, cl_device_info what) const {
  return QueriedText([&](size_t room, void* text, size_t* size) {
    return m_cl.clGetDeviceInfo(device, what, room, text, size);
  });
}

bool COpenCL::InitContext() {
  CSyncLock lock(m_lock);
  if (m_library == nullptr) return CSystemError::Bool("InitContext", 299, false);
  std::vector<Device> found;
  if (!EnumerateDevices({"InitContext", 302, 306, 314, 320}, &found)) return false;
  const auto chosen = std::find_if(found.rbegin(), found.rend(),
                                   [&](const Device& d) { return d.name == m_deviceName; });
  if (chosen == found.rend()) {
    LogText("No OpenCL device");
    return false;
  }
  const cl_device_id device = chosen->device;

  cl_bool images = CL_FALSE;
  m_imageSupport = m_cl.clGetDeviceInfo(device, CL_DEVICE_IMAGE_SUPPORT, sizeof images, &images,
                                        nullptr) == CL_SUCCESS &&
                   images == CL_TRUE;
  LogText("OpenCL: " + chosen->name);
  LogText("OpenCL: " + DeviceText(device, CL_DEVICE_NAME) + " version " +
          DeviceText(device, CL_DRIVER_VERSION) + " (" + DeviceText(device, CL_DEVICE_VERSION) +
          ")" + (m_imageSupport ? "" : " no image support"));
  LogText("OpenCL: Work group size " + std::to_string(m_workSize));

  const cl_context_properties properties[] = {
      CL_CONTEXT_PLATFORM, reinterpret_cast<cl_context_properties>(chosen->platform), 0};
  cl_int error = CL_SUCCESS;
  m_context = m_cl.clCreateContext(properties, 1, &device, &ContextError, nullptr, &error);
  if (m_context == nullptr || error != CL_SUCCESS) {
    LogError("clContext()", error);
    return CSystemError::Bool("InitContext", 367, false);
  }
  m_queue = m_cl.clCreateCommandQueue(m_context, device, 0, &error);
  if (m_queue == nullptr || error != CL_SUCCESS) {
    LogError("clCreateCommandQueue()", error);
    return CSystemError::Bool("InitContext", 374, false);
  }
  std::vector<char> source;
  if (!LoadKernel(&source)) return CSystemError::Bool("InitContext", 378, false);
  const char* text = source.data();
  const cl_program program = m_cl.clCreateProgramWithSource(m_context, 1, &text, nullptr, &error);
  if (program == nullptr || error != CL_SUCCESS) {
    LogError("clCreateProgramWithSource()", error);
    return CSystemError::Bool("InitContext", 385, false);
  }
  const bool built = BuildProgram(*chosen, program);
  m_cl.clReleaseProgram(program);
  if (!built) return false;
  QueryKernelLimit(device);
  m_cl.clUnloadCompiler();
  LogText("OpenCL ready...");
  m_ready = true;
  return true;
}

bool COpenCL::BuildProgram(const Device& device, cl_program program) {
  cl_int error = m_cl.clBuildProgram(program, 0, nullptr, kOptions, nullptr, nullptr);
  if (error != CL_SUCCESS) {
    size_t size = 0;
    if (m_cl.clGetProgramBuildInfo(program, device.device, CL_PROGRAM_BUILD_LOG, 0, nullptr,
                                   &size) == CL_SUCCESS) {
      std::string text(size, '\0');
      if (m_cl.clGetProgramBuildInfo(program, device.device, CL_PROGRAM_BUILD_LOG, size,
                                     text.data(), nullptr) == CL_SUCCESS) {
        text.resize(std::min(text.find('\0'), std::min(size, kLongestBuildLog)));
        if (!text.empty()) LogText(text);
      }
    }
    LogError("clBuildProgram()", error);
    return CSystemError::Bool("InitContext", 396, false);
  }
  struct Made {
    const char* name;
    int32_t line;
  };
  constexpr std::array<Made, kKernels> kMade = {
      {{"Precalculate", 403}, {"Correlate", 409}, {"Results", 415}}};
  for (size_t i = 0; i < kKernels; ++i) {
    m_kernels[i] = m_cl.clCreateKernel(program, kMade[i].name, &error);
    if (m_kernels[i] != nullptr && error == CL_SUCCESS) continue;
    LogError("clCreateKernel()", error);
    return CSystemError::Bool("InitContext", kMade[i].line, false);
  }
  return true;
}

void COpenCL::QueryKernelLimit(cl_device_id device) {
  m_kernelLimit = UINT64_MAX;
  for (const cl_kernel kernel : m_kernels) {
    size_t limit = 0;
    if (m_cl.clGetKernelWorkGroupInfo(kernel, device, CL_KERNEL_WORK_GROUP_SIZE, sizeof limit,
                                      &limit, nullptr) != CL_SUCCESS)
      limit = m_workSize;
    m_kernelLimit = std::min<uint64_t>(m_kernelLimit, limit);
  }
  LogDecrease();
}

void COpenCL::LogDecrease() {
  if (m_kernelLimit >= m_workSize || m_kernels[kResults] == nullptr) return;
  LogText("Decreasing OpenCL work size to " + std::to_string(m_kernelLimit) +
          ", kernel limitation (CL_KERNEL_WORK_GROUP_SIZE)");
}

bool COpenCL::LoadKernel(std::vector<char>* source) const {
  source->clear();
  struct Resource {
    const char* name;
    int32_t line;
  };
  const Resource resources[] = {
      {m_imageSupport ? "kernel_prepare_texture" : "kernel_prepare_data", 655}, {"kernel", 677}};
  for (const Resource& resource : resources) {
    const std::string_view text = KernelSource(resource.name);
    if (text.data() == nullptr) return CSystemError::Bool("LoadKernel", resource.line, false);
    source->insert(source->end(), text.begin(), text.end());
  }
  source->push_back('\0');
  return true;
}

}  // namespace quill
