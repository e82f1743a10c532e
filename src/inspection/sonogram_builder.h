// SPDX-License-Identifier: GPL-3.0-or-later
// The time-resolved spectrum of one audio file: one magnitude spectrum for each hop, for each
// channel, all kept in memory: 4 (N/2 + 1) bytes a hop and channel.
#pragma once

#include <array>

#include "inspection/shown_result.h"
#include "inspection/spectrum_builder.h"
#include "signal/aligned_allocator.h"

namespace quill {

class CSonogramBuilder : public CSpectrumBuilder {
 public:
  // Frame f covers the samples from f * step on; bin b is the frequency b * sampleRate / N.
  struct Result {
    // All frames in the order of time, `valuesLen` linear levels each; the second is empty for
    // mono.
    std::array<CFloatVector, kChannels> values;
    size_t valuesLen = 0;  // N/2 + 1
    size_t step = 0;       // samples between two frames
    uint32_t sampleRate = 0;

    [[nodiscard]] size_t FrameCount() const {
      return valuesLen == 0 ? 0 : values[0].size() / valuesLen;
    }
  };

  ~CSonogramBuilder() override { Stop(); }

  // As CShownResult's.
  template <class Look>
  void Visit(Look look) const {
    m_shown.Visit(look);
  }

 private:
  void Begin(const Run& run) override;
  void TakeFrame(size_t channel, const float* magnitudes) override;
  [[nodiscard]] bool Publish(const Run& run) override;

  Result m_fresh;  // builder's thread only

  CShownResult<Result> m_shown;
};

}  // namespace quill
