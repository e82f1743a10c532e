// SPDX-License-Identifier: GPL-3.0-or-later
// The flat table of operations on vectors of 32-bit floats under all engines. Each gives a status:
// 0 success, negative an error, positive a warning; callers treat every non-zero status as a
// failure, except kVecDivByZero where told. A null pointer or a length below 1 is an error and
// changes nothing. Re-entrant: only the arguments are touched. Sums run in double precision inside.
#pragma once

#include <cstdint>

namespace quill {

using VecStatus = int32_t;
inline constexpr VecStatus kVecOk = 0;
inline constexpr VecStatus kVecDivByZero = 6;     // warning: infinities or NaN by IEEE arithmetic
inline constexpr VecStatus kVecNullPointer = -8;  // errors
inline constexpr VecStatus kVecBadSize = -6;
inline constexpr VecStatus kVecDivisorZero = -10;

// Element-wise, for i from 0 to n - 1. A source may be the destination.
VecStatus VecSet(float value, float* dst, int32_t n);
VecStatus VecCopy(const float* src, float* dst, int32_t n);
VecStatus VecAdd(const float* a, const float* b, float* dst, int32_t n);
VecStatus VecAddInPlace(const float* src, float* dst, int32_t n);
VecStatus VecSub(const float* a, const float* b, float* dst, int32_t n);  // b - a
VecStatus VecSubInPlace(const float* src, float* dst, int32_t n);         // dst -= src
VecStatus VecMul(const float* a, const float* b, float* dst, int32_t n);
VecStatus VecMulInPlace(const float* src, float* dst, int32_t n);
VecStatus VecMulConst(const float* src, float value, float* dst, int32_t n);
VecStatus VecMulConstInPlace(float value, float* dst, int32_t n);
VecStatus VecDivConstInPlace(float value, float* dst, int32_t n);  // value 0 is an error
// b / a; kVecDivByZero if some a is 0, with all other elements done.
VecStatus VecDiv(const float* a, const float* b, float* dst, int32_t n);
VecStatus VecInverseConstInPlace(float value, float* dst, int32_t n);  // value / dst
VecStatus VecSquare(const float* src, float* dst, int32_t n);
VecStatus VecSqrtInPlace(float* dst, int32_t n);
VecStatus VecAbsInPlace(float* dst, int32_t n);
VecStatus VecMaxEveryInPlace(const float* src, float* dst, int32_t n);
VecStatus VecFloorInPlace(float* dst, int32_t n, float level);  // below level become level
VecStatus VecCapInPlace(float* dst, int32_t n, float level);    // above level become level
VecStatus VecClampInPlace(float* dst, int32_t n, float low, float lowValue, float high,
                          float highValue);
VecStatus VecNormalize(const float* src, float* dst, int32_t n, float subtrahend, float divisor);
VecStatus VecBytesToFloat(const uint8_t* src, float* dst, int32_t n);  // 0 to 255, unscaled
// x 256, truncated toward zero, saturated to 0 to 255.
VecStatus VecFloatToBytes(const float* src, uint8_t* dst, int32_t n);

// Reductions.
VecStatus VecSum(const float* src, int32_t n, float* sum);
VecStatus VecMean(const float* src, int32_t n, float* mean);
// Sample standard deviation, divisor n - 1; 0 for n = 1.
VecStatus VecMeanDev(const float* src, int32_t n, float* mean, float* deviation);
VecStatus VecMax(const float* src, int32_t n, float* max);
VecStatus VecMaxIndex(const float* src, int32_t n, float* max, int32_t* index);
VecStatus VecMinMax(const float* src, int32_t n, float* min, float* max);
VecStatus VecNormL1(const float* src, int32_t n, float* norm);  // sum of absolute values

// Multiplies dst[k] by the symmetric Hann window (1 - cos(2 pi k / (n - 1))) / 2.
VecStatus WinHannInPlace(float* dst, int32_t n);
// dst[i] = sqrt(re^2 + im^2) of `count` interleaved complex values.
VecStatus ComplexMagnitude(const float* src, float* dst, int32_t count);

}  // namespace quill
