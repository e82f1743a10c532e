// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/opencl_functions.h"

#include <dlfcn.h>

namespace quill {
namespace {

template <class Function>
bool LookUp(void* library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(dlsym(library, name));
  return *function != nullptr;
}

}  // namespace

void* LoadOpenCL(const char* library, OpenCLFunctions* functions) {
  // It stays loaded for good: drivers have threads and memory that they do not take back, and their
  // code must not go away from under them.
  void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (handle == nullptr) return nullptr;
  bool complete = true;
#define QUILL_OPENCL_LOOK_UP(name) complete = LookUp(handle, #name, &functions->name) && complete;
  QUILL_OPENCL_FUNCTIONS(QUILL_OPENCL_LOOK_UP)
#undef QUILL_OPENCL_LOOK_UP
  if (complete) return handle;
  *functions = {};
  dlclose(handle);
  return nullptr;
}

}  // namespace quill
