// SPDX-License-Identifier: GPL-3.0-or-later
// The allocator of all signal vectors: blocks aligned to 64 bytes, for the vector code. VecAlloc
// and VecFree are the same two operations for raw work buffers. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace quill {

// A block of `bytes` at a multiple of 64, or null when memory is short or `bytes` is below 1. Asks
// the system for 72 bytes more and keeps the system's pointer in the 8 bytes ahead of the block.
[[nodiscard]] void* VecAlloc(ptrdiff_t bytes);
void VecFree(void* block);  // null is ignored

template <class T>
class IppAllocator {
 public:
  using value_type = T;
  IppAllocator() = default;
  template <class U>
  IppAllocator(const IppAllocator<U>&) {}  // NOLINT: rebinding converts

  // The standard containers know no null result: this one place throws.
  T* allocate(size_t count) {
    void* block = VecAlloc(static_cast<ptrdiff_t>(count * sizeof(T)));
    if (!block) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* block, size_t) { VecFree(block); }
  friend bool operator==(const IppAllocator&, const IppAllocator&) { return true; }
};

using CFloatVector = std::vector<float, IppAllocator<float>>;
using CByteVector = std::vector<uint8_t, IppAllocator<uint8_t>>;

}  // namespace quill
