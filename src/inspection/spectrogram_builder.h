// SPDX-License-Identifier: GPL-3.0-or-later
// The long-term spectrum of one audio file: for every frequency bin of each channel the mean and
// the peak level over the whole file. Memory depends on the transform length alone.
#pragma once

#include <array>

#include "inspection/shown_result.h"
#include "inspection/spectrum_builder.h"
#include "signal/aligned_allocator.h"

namespace quill {

class CSpectrogramBuilder : public CSpectrumBuilder {
 public:
  // Levels in linear units, N/2 + 1 for each of two channels. A channel with no frame, as the
  // second one of a mono file, has means that are no numbers and peaks of 0: it counts as silence.
  struct Result {
    std::array<CFloatVector, kChannels> peaks, means;  // empty before the first finished run
    uint32_t sampleRate = 0;
    float maxValue = 0;  // largest peak of all channels
  };

  ~CSpectrogramBuilder() override { Stop(); }

  // As CShownResult's.
  template <class Look>
  void Visit(Look look) const {
    m_shown.Visit(look);
  }

 private:
  void Begin(const Run& run) override;
  void TakeFrame(size_t channel, const float* magnitudes) override;
  [[nodiscard]] bool Publish(const Run& run) override;

  // Builder's thread only.
  Result m_fresh;
  std::array<size_t, kChannels> m_frames{};

  CShownResult<Result> m_shown;
};

}  // namespace quill
