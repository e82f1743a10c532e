// SPDX-License-Identifier: GPL-3.0-or-later
// The 24 functions of OpenCL 1.x that the program uses, looked up by name at run time: the library
// is opened when it is there, and nothing is linked against it. Only its headers are needed, at
// build time, and only in this folder.
#pragma once

// Images made by clCreateImage2D, which every version of the standard still has.
#define CL_TARGET_OPENCL_VERSION 120
#define CL_USE_DEPRECATED_OPENCL_1_1_APIS
#include <CL/cl.h>

namespace quill {

#define QUILL_OPENCL_FUNCTIONS(X) \
  X(clGetPlatformIDs)             \
  X(clGetPlatformInfo)            \
  X(clGetDeviceIDs)               \
  X(clGetDeviceInfo)              \
  X(clCreateContext)              \
  X(clReleaseKernel)              \
  X(clReleaseMemObject)           \
  X(clReleaseCommandQueue)        \
  X(clReleaseContext)             \
  X(clReleaseProgram)             \
  X(clEnqueueReadBuffer)          \
  X(clEnqueueNDRangeKernel)       \
  X(clSetKernelArg)               \
  X(clBuildProgram)               \
  X(clGetContextInfo)             \
  X(clCreateProgramWithSource)    \
  X(clCreateKernel)               \
  X(clCreateBuffer)               \
  X(clCreateCommandQueue)         \
  X(clFinish)                     \
  X(clCreateImage2D)              \
  X(clUnloadCompiler)             \
  X(clGetProgramBuildInfo)        \
  X(clGetKernelWorkGroupInfo)

struct OpenCLFunctions {
// A field is named by the macro: parentheses would make it an expression.
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define QUILL_OPENCL_FIELD(name) decltype(&::name) name = nullptr;
  QUILL_OPENCL_FUNCTIONS(QUILL_OPENCL_FIELD)
#undef QUILL_OPENCL_FIELD
};

// Opens a library and fills the table. Null, with an empty table, when the library or one of the
// functions is not there. The handle is for dlclose.
[[nodiscard]] void* LoadOpenCL(const char* library, OpenCLFunctions* functions);

}  // namespace quill
