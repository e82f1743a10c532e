// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/real_fft.h"

#include <fftw3.h>

#include <array>
#include <bit>
#include <mutex>

#include "core/system_error.h"
#include "signal/fft_planner.h"
#include "signal/half_transform.h"
#include "signal/vector_ops.h"

namespace quill {

namespace {

constexpr int kLeastExponent = 5;
constexpr int kGreatestExponent = 16;

// Plans live as long as the process. Of half the length and complex: the library's own way from
// there to the real transform takes twice as long as the transform itself.
const void* PlanFor(int exponent, float* block, float* spectrum) {
  static std::array<fftwf_plan, kGreatestExponent + 1> plans{};
  const std::lock_guard lock(FftPlannerMutex());
  fftwf_plan& plan = plans[exponent];
  if (!plan)
    plan =
        fftwf_plan_dft_1d(1 << (exponent - 1), reinterpret_cast<fftwf_complex*>(block),
                          reinterpret_cast<fftwf_complex*>(spectrum), FFTW_FORWARD, FFTW_ESTIMATE);
  return plan;
}

}  // namespace

bool CRealFFT::Init(size_t size) {
  if (m_size != 0) return CSystemError::Bool("Init", 48, false);
  const int exponent = std::countr_zero(size);
  if (!std::has_single_bit(size) || exponent < kLeastExponent || exponent > kGreatestExponent)
    return CSystemError::Bool("Init", 52, false);
  const auto n = static_cast<int32_t>(size);
  m_window.assign(size, 1.0f);
  m_block.assign(size, 0.0f);
  m_spectrum.assign(size, 0.0f);
  m_turns = HalfTransformTurns(size);
  if (const VecStatus status = WinHannInPlace(m_window.data(), n)) {
    CSystemError::Integer("Init", 57, status);
    return false;
  }
  m_plan = PlanFor(exponent, m_block.data(), m_spectrum.data());
  if (!m_plan) return CSystemError::Bool("Init", 66, false);
  m_size = size;
  return true;
}

bool CRealFFT::Forward(const float* samples, size_t count) {
  if (m_size == 0 || count != m_size) return false;
  if (VecMul(samples, m_window.data(), m_block.data(), static_cast<int32_t>(count)) != kVecOk)
    return false;
  fftwf_execute_dft(static_cast<fftwf_plan>(const_cast<void*>(m_plan)),
                    reinterpret_cast<fftwf_complex*>(m_block.data()),
                    reinterpret_cast<fftwf_complex*>(m_spectrum.data()));
  return true;
}

const float* CRealFFT::Magnitude() {
  if (m_size == 0) return nullptr;
  MagnitudesOfHalf(m_spectrum.data(), m_turns.data(), m_size, m_block.data());
  return m_block.data();
}

}  // namespace quill
