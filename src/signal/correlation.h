// SPDX-License-Identifier: GPL-3.0-or-later
// Products of one vector with another at sliding offsets, and the Pearson value built on them: the
// hot loops of a scan. The vector code picks the processor's best variant at run time. Re-entrant.
#pragma once

#include <cstdint>

#include "signal/vector_ops.h"

namespace quill {

// dst[k] = sum over i of a[i] x b[i + k], for k from 0 to outLength - 1, not normalised. `a` is the
// shorter or of equal length, and values of b behind its end count as 0.
VecStatus CrossCorr(const float* a, int32_t lengthA, const float* b, int32_t lengthB, float* dst,
                    int32_t outLength);

// The same over bytes, exact: the caller keeps lengthA below 33025, so that a sum of products of
// bytes fits 31 bits. Needs lengthB >= lengthA + outLength - 1.
VecStatus CrossCorrBytes(const uint8_t* a, int32_t lengthA, const uint8_t* b, int32_t lengthB,
                         int32_t* dst, int32_t outLength);

// The Pearson coefficient of two vectors of n values, -1 to 1. Two constant vectors are a perfect
// match (1), a constant one against a varying one is none (0). 0 after a report on bad arguments.
[[nodiscard]] float CorrelatePearson(const float* x, const float* y, int32_t n);

}  // namespace quill
