// SPDX-License-Identifier: GPL-3.0-or-later
// The memory shared with the application, in which all bulk data travel. The application owns the
// backing file, whose descriptor this program inherited; only the application resizes it, when
// asked over the pipe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "decoder/link/pipe.h"

namespace quill::decoder {

class CSharedMap {
 public:
  explicit CSharedMap(CPipe& pipe) : m_pipe(pipe) {}
  ~CSharedMap() { Drop(); }
  CSharedMap(const CSharedMap&) = delete;
  CSharedMap& operator=(const CSharedMap&) = delete;

  // At least `size` bytes; empty when the application cannot provide them. A mapping that is large
  // enough is used again, without asking.
  [[nodiscard]] std::span<uint8_t> Provide(uint32_t size);
  // The application is about to take the mapping back.
  void Drop();

 private:
  CPipe& m_pipe;
  uint8_t* m_map = nullptr;
  size_t m_size = 0;
};

}  // namespace quill::decoder
