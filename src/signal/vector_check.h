// SPDX-License-Identifier: GPL-3.0-or-later
// The argument test that every vector operation begins with.
#pragma once

#include <cstdint>

#include "signal/vector_ops.h"

namespace quill {

template <class... Pointers>
VecStatus CheckVectors(int32_t n, Pointers... pointers) {
  const bool missing = (!pointers || ...);
  if (missing) return kVecNullPointer;
  return n < 1 ? kVecBadSize : kVecOk;
}

}  // namespace quill
