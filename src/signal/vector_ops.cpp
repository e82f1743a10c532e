// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/vector_ops.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "signal/vector_check.h"

namespace quill {

namespace {

// dst[i] = op(dst[i]), op(src[i]) and op(a[i], b[i]): plain loops, left to the compiler.
template <class Op>
VecStatus InPlace(float* dst, int32_t n, Op op) {
  if (const VecStatus status = CheckVectors(n, dst)) return status;
  for (int32_t i = 0; i < n; ++i) dst[i] = op(dst[i]);
  return kVecOk;
}

template <class Source, class Target, class Op>
VecStatus Unary(const Source* src, Target* dst, int32_t n, Op op) {
  if (const VecStatus status = CheckVectors(n, src, dst)) return status;
  for (int32_t i = 0; i < n; ++i) dst[i] = op(src[i]);
  return kVecOk;
}

template <class Op>
VecStatus Binary(const float* a, const float* b, float* dst, int32_t n, Op op) {
  if (const VecStatus status = CheckVectors(n, a, b, dst)) return status;
  for (int32_t i = 0; i < n; ++i) dst[i] = op(a[i], b[i]);
  return kVecOk;
}

uint8_t ToByte(float value) {
  const float scaled = value * 256.0f;
  if (scaled >= 255.0f) return 255;
  return scaled > 0.0f ? static_cast<uint8_t>(scaled) : 0;
}

}  // namespace

VecStatus VecSet(float value, float* dst, int32_t n) {
  return InPlace(dst, n, [=](float) { return value; });
}

VecStatus VecCopy(const float* src, float* dst, int32_t n) {
  return Unary(src, dst, n, [](float x) { return x; });
}

VecStatus VecAdd(const float* a, const float* b, float* dst, int32_t n) {
  return Binary(a, b, dst, n, [](float x, float y) { return x + y; });
}

VecStatus VecAddInPlace(const float* src, float* dst, int32_t n) {
  return VecAdd(src, dst, dst, n);
}

VecStatus VecSub(const float* a, const float* b, float* dst, int32_t n) {
  return Binary(a, b, dst, n, [](float x, float y) { return y - x; });
}

VecStatus VecSubInPlace(const float* src, float* dst, int32_t n) {
  return VecSub(src, dst, dst, n);
}

VecStatus VecMul(const float* a, const float* b, float* dst, int32_t n) {
  return Binary(a, b, dst, n, [](float x, float y) { return x * y; });
}

VecStatus VecMulInPlace(const float* src, float* dst, int32_t n) {
  return VecMul(src, dst, dst, n);
}

VecStatus VecMulConst(const float* src, float value, float* dst, int32_t n) {
  return Unary(src, dst, n, [=](float x) { return x * value; });
}

VecStatus VecMulConstInPlace(float value, float* dst, int32_t n) {
  return InPlace(dst, n, [=](float x) { return x * value; });
}

VecStatus VecDivConstInPlace(float value, float* dst, int32_t n) {
  if (value == 0.0f) return kVecDivisorZero;
  return InPlace(dst, n, [=](float x) { return x / value; });
}

VecStatus VecDiv(const float* a, const float* b, float* dst, int32_t n) {
  if (const VecStatus status = CheckVectors(n, a, b, dst)) return status;
  bool zero = false;
  for (int32_t i = 0; i < n; ++i) {
    zero |= a[i] == 0.0f;
    dst[i] = b[i] / a[i];
  }
  return zero ? kVecDivByZero : kVecOk;
}

VecStatus VecInverseConstInPlace(float value, float* dst, int32_t n) {
  return InPlace(dst, n, [=](float x) { return value / x; });
}

VecStatus VecSquare(const float* src, float* dst, int32_t n) {
  return Unary(src, dst, n, [](float x) { return x * x; });
}

VecStatus VecSqrtInPlace(float* dst, int32_t n) {
  return InPlace(dst, n, [](float x) { return std::sqrt(x); });
}

VecStatus VecAbsInPlace(float* dst, int32_t n) {
  return InPlace(dst, n, [](float x) { return std::fabs(x); });
}

VecStatus VecMaxEveryInPlace(const float* src, float* dst, int32_t n) {
  return Binary(src, dst, dst, n, [](float x, float y) { return std::max(y, x); });
}

VecStatus VecFloorInPlace(float* dst, int32_t n, float level) {
  return InPlace(dst, n, [=](float x) { return x < level ? level : x; });
}

VecStatus VecCapInPlace(float* dst, int32_t n, float level) {
  return InPlace(dst, n, [=](float x) { return x > level ? level : x; });
}

VecStatus VecClampInPlace(float* dst, int32_t n, float low, float lowValue, float high,
                          float highValue) {
  return InPlace(dst, n, [=](float x) { return x < low ? lowValue : x > high ? highValue : x; });
}

VecStatus VecNormalize(const float* src, float* dst, int32_t n, float subtrahend, float divisor) {
  return Unary(src, dst, n, [=](float x) { return (x - subtrahend) / divisor; });
}

VecStatus VecBytesToFloat(const uint8_t* src, float* dst, int32_t n) {
  return Unary(src, dst, n, [](uint8_t x) { return static_cast<float>(x); });
}

VecStatus VecFloatToBytes(const float* src, uint8_t* dst, int32_t n) {
  return Unary(src, dst, n, ToByte);
}

VecStatus VecMaxIndex(const float* src, int32_t n, float* max, int32_t* index) {
  if (const VecStatus status = CheckVectors(n, src, max, index)) return status;
  const float* greatest = std::max_element(src, src + n);
  *max = *greatest;
  *index = static_cast<int32_t>(greatest - src);
  return kVecOk;
}

VecStatus VecMinMax(const float* src, int32_t n, float* min, float* max) {
  if (const VecStatus status = CheckVectors(n, src, min, max)) return status;
  const auto [least, greatest] = std::minmax_element(src, src + n);
  *min = *least;
  *max = *greatest;
  return kVecOk;
}

VecStatus WinHannInPlace(float* dst, int32_t n) {
  if (const VecStatus status = CheckVectors(n, dst)) return status;
  // A window of one value has no slope: its only value is an end, 0.
  const double step = n > 1 ? 2.0 * std::numbers::pi / (n - 1) : 0.0;
  for (int32_t k = 0; k < n; ++k) dst[k] *= static_cast<float>(0.5 - 0.5 * std::cos(step * k));
  return kVecOk;
}

}  // namespace quill
