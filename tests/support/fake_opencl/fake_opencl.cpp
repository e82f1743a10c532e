// SPDX-License-Identifier: GPL-3.0-or-later
// The real OpenCL library with faults to order. What is not here is found in the library itself,
// on which this one depends.
#define CL_TARGET_OPENCL_VERSION 120
#define CL_USE_DEPRECATED_OPENCL_1_1_APIS
#include <CL/cl.h>
#include <dlfcn.h>

#include <string_view>

#include "support/fake_opencl/control.h"

extern "C" quill::test::FakeOpenCL g_fakeOpenCL;
quill::test::FakeOpenCL g_fakeOpenCL;

namespace {

bool Fails(std::string_view name) {
  const char* const failing = g_fakeOpenCL.failing;
  return failing != nullptr && name == failing && g_fakeOpenCL.passes.fetch_sub(1) <= 0;
}

template <class Object>
Object Refuse(cl_int* error) {
  *error = CL_OUT_OF_RESOURCES;
  return nullptr;
}

template <class Object>
Object Counted(Object made) {
  if (made != nullptr) ++g_fakeOpenCL.objects;
  return made;
}

}  // namespace

#define REAL(name) reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))
#define FAIL_OR(name, ...) return Fails(#name) ? CL_OUT_OF_RESOURCES : REAL(name)(__VA_ARGS__)
#define MAKE(name, ...) \
  return Fails(#name) ? Refuse<decltype(name(__VA_ARGS__))>(e) : Counted(REAL(name)(__VA_ARGS__))
#define RELEASE(name, object) \
  --g_fakeOpenCL.objects;     \
  return REAL(name)(object)

extern "C" {

cl_int clGetPlatformIDs(cl_uint n, cl_platform_id* p, cl_uint* count) {
  FAIL_OR(clGetPlatformIDs, n, p, count);
}
cl_int clGetDeviceIDs(cl_platform_id p, cl_device_type t, cl_uint n, cl_device_id* d,
                      cl_uint* count) {
  FAIL_OR(clGetDeviceIDs, p, t, n, d, count);
}
cl_int clGetDeviceInfo(cl_device_id d, cl_device_info what, size_t room, void* value,
                       size_t* size) {
  if (what == CL_DEVICE_IMAGE_SUPPORT && g_fakeOpenCL.noImages) {
    *static_cast<cl_bool*>(value) = CL_FALSE;
    return CL_SUCCESS;
  }
  return REAL(clGetDeviceInfo)(d, what, room, value, size);
}
cl_int clGetKernelWorkGroupInfo(cl_kernel k, cl_device_id d, cl_kernel_work_group_info what,
                                size_t room, void* value, size_t* size) {
  if (Fails("clGetKernelWorkGroupInfo")) return CL_OUT_OF_RESOURCES;
  const cl_int error = REAL(clGetKernelWorkGroupInfo)(k, d, what, room, value, size);
  if (g_fakeOpenCL.kernelLimit != 0) *static_cast<size_t*>(value) = g_fakeOpenCL.kernelLimit;
  return error;
}
cl_context clCreateContext(const cl_context_properties* p, cl_uint n, const cl_device_id* d,
                           void(CL_CALLBACK* f)(const char*, const void*, size_t, void*),
                           void* data, cl_int* e) {
  MAKE(clCreateContext, p, n, d, f, data, e);
}
cl_command_queue clCreateCommandQueue(cl_context c, cl_device_id d, cl_command_queue_properties p,
                                      cl_int* e) {
  MAKE(clCreateCommandQueue, c, d, p, e);
}
cl_program clCreateProgramWithSource(cl_context c, cl_uint n, const char** text,
                                     const size_t* lengths, cl_int* e) {
  MAKE(clCreateProgramWithSource, c, n, text, lengths, e);
}
cl_int clBuildProgram(cl_program p, cl_uint n, const cl_device_id* d, const char* options,
                      void(CL_CALLBACK* f)(cl_program, void*), void* data) {
  ++g_fakeOpenCL.builds;
  // A failure of the compiler itself, with its log.
  return Fails("clBuildProgram") ? REAL(clBuildProgram)(p, n, d, "-Dint=nonsense", f, data)
                                 : REAL(clBuildProgram)(p, n, d, options, f, data);
}
cl_kernel clCreateKernel(cl_program p, const char* name, cl_int* e) {
  MAKE(clCreateKernel, p, name, e);
}
cl_mem clCreateBuffer(cl_context c, cl_mem_flags f, size_t size, void* data, cl_int* e) {
  MAKE(clCreateBuffer, c, f, size, data, e);
}
cl_mem clCreateImage2D(cl_context c, cl_mem_flags f, const cl_image_format* format, size_t width,
                       size_t height, size_t pitch, void* data, cl_int* e) {
  MAKE(clCreateImage2D, c, f, format, width, height, pitch, data, e);
}
cl_int clSetKernelArg(cl_kernel k, cl_uint index, size_t size, const void* value) {
  FAIL_OR(clSetKernelArg, k, index, size, value);
}
cl_int clEnqueueNDRangeKernel(cl_command_queue q, cl_kernel k, cl_uint dimensions,
                              const size_t* offset, const size_t* global, const size_t* local,
                              cl_uint n, const cl_event* waits, cl_event* done) {
  FAIL_OR(clEnqueueNDRangeKernel, q, k, dimensions, offset, global, local, n, waits, done);
}
cl_int clEnqueueReadBuffer(cl_command_queue q, cl_mem m, cl_bool blocks, size_t offset, size_t size,
                           void* data, cl_uint n, const cl_event* waits, cl_event* done) {
  if (Fails("clEnqueueReadBuffer")) return CL_OUT_OF_RESOURCES;
  const cl_int error = REAL(clEnqueueReadBuffer)(q, m, blocks, offset, size, data, n, waits, done);
  if (g_fakeOpenCL.wrong) static_cast<float*>(data)[size / sizeof(float) - 1] += 0.04F;
  return error;
}
cl_int clFinish(cl_command_queue q) {
  FAIL_OR(clFinish, q);
}
cl_int clReleaseKernel(cl_kernel k) {
  RELEASE(clReleaseKernel, k);
}
cl_int clReleaseMemObject(cl_mem m) {
  RELEASE(clReleaseMemObject, m);
}
cl_int clReleaseCommandQueue(cl_command_queue q) {
  RELEASE(clReleaseCommandQueue, q);
}
cl_int clReleaseContext(cl_context c) {
  RELEASE(clReleaseContext, c);
}
cl_int clReleaseProgram(cl_program p) {
  RELEASE(clReleaseProgram, p);
}

}  // extern "C"
