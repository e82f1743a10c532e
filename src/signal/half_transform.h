// SPDX-License-Identifier: GPL-3.0-or-later
// A real transform of N samples costs no more than a complex one of N / 2, if the samples are taken
// in pairs as complex values; this is the step that brings out the magnitudes of the real one. Any
// thread; only the arguments are touched.
#pragma once

#include <cstddef>

#include "signal/aligned_allocator.h"

namespace quill {

// cos(2 pi k / N) for k from 0 to N / 4, then as many sines.
[[nodiscard]] CFloatVector HalfTransformTurns(size_t size);
// `packed`: the N / 2 complex values of the transform of the pairs. `turns` are those of N.
// `magnitudes` gets N / 2 + 1, and lies elsewhere.
void MagnitudesOfHalf(const float* packed, const float* turns, size_t size, float* magnitudes);

}  // namespace quill
