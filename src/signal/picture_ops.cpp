// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/picture_ops.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>

#include "signal/fft_planner.h"
#include "signal/vector_check.h"

namespace quill {
namespace {

constexpr size_t kSide = kTransformSide;
constexpr size_t kHalf = kSide / 2 + 1;  // horizontal frequencies of a real picture

// The plan lives as long as the process.
fftwf_plan TransformPlan(float* picture, fftwf_complex* spectrum) {
  static fftwf_plan plan = nullptr;
  const std::lock_guard lock(FftPlannerMutex());
  if (!plan)
    plan = fftwf_plan_dft_r2c_2d(kTransformSide, kTransformSide, picture, spectrum, FFTW_ESTIMATE);
  return plan;
}

}  // namespace

VecStatus PictureGrey(const uint8_t* src, int32_t channels, uint8_t* dst, int32_t n) {
  if (const VecStatus status = CheckVectors(n, src, dst)) return status;
  if (channels != 3 && channels != 4) return kVecBadSize;
  for (int32_t i = 0; i < n; ++i, src += channels)
    dst[i] = static_cast<uint8_t>((299 * src[0] + 587 * src[1] + 114 * src[2] + 500) / 1000);
  return kVecOk;
}

VecStatus PictureTranspose(const float* src, int32_t width, int32_t height, float* dst) {
  if (const VecStatus status = CheckVectors(std::min(width, height), src, dst)) return status;
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x)
      dst[ptrdiff_t{x} * height + y] = src[ptrdiff_t{y} * width + x];
  return kVecOk;
}

VecStatus PictureMagnitudes(const float* src, float* dst) {
  if (const VecStatus status = CheckVectors(1, src, dst)) return status;
  // Aligned as the plan was made for.
  alignas(64) float picture[kSide * kSide];
  alignas(64) fftwf_complex spectrum[kSide * kHalf];
  const fftwf_plan plan = TransformPlan(picture, spectrum);
  if (!plan) return kVecNullPointer;
  std::copy_n(src, kSide * kSide, picture);
  fftwf_execute_dft_r2c(plan, picture, spectrum);
  constexpr float kScale = 1.0f / (kSide * kSide);
  for (size_t y = 0; y < kSide; ++y) {
    const size_t opposite = (kSide - y) % kSide;
    for (size_t x = 0; x < kHalf; ++x) {
      const float* const value = spectrum[y * kHalf + x];
      const float magnitude = std::sqrt(value[0] * value[0] + value[1] * value[1]) * kScale;
      dst[y * kSide + x] = magnitude;
      // A real picture's opposite frequencies are equally strong.
      if (x % (kSide / 2) != 0) dst[opposite * kSide + kSide - x] = magnitude;
    }
  }
  return kVecOk;
}

}  // namespace quill
