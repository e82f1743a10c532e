// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/aligned_allocator.h"

#include <cstdlib>
#include <cstring>

namespace quill {

namespace {
constexpr uintptr_t kAlignment = 64;
constexpr size_t kOverhead = kAlignment + sizeof(void*);
}  // namespace

void* VecAlloc(ptrdiff_t bytes) {
  if (bytes < 1) return nullptr;
  void* system = std::malloc(static_cast<size_t>(bytes) + kOverhead);
  if (!system) return nullptr;
  const uintptr_t block = (reinterpret_cast<uintptr_t>(system) + kOverhead - 1) & ~(kAlignment - 1);
  std::memcpy(reinterpret_cast<char*>(block) - sizeof system, &system, sizeof system);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): that is what alignment by hand takes.
  return reinterpret_cast<void*>(block);
}

void VecFree(void* block) {
  if (!block) return;
  void* system;
  std::memcpy(&system, static_cast<char*>(block) - sizeof system, sizeof system);
  std::free(system);
}

}  // namespace quill
