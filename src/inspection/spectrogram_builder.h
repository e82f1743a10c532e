// The long-term spectrum of one audio file: for every frequency bin of each channel the mean and
// the peak level over the whole file. Memory depends on the transform length alone.
#pragma once

#include <array>

#include "core/sync.h"
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

  // Calls look(const Result&) under the lock that the builder takes to exchange results: for a
  // drawing, not for longer.
  template <class Look>
  void Visit(Look look) const EXCLUDES(m_sync) {
    CSyncLock lock(m_sync);
    look(m_result);
  }

 private:
  void Begin(const Run& run) override;
  void TakeFrame(size_t channel, const float* magnitudes) override;
  [[nodiscard]] bool Publish(const Run& run) override;

  // Builder's thread only.
  Result m_fresh;
  std::array<size_t, kChannels> m_frames{};

  mutable CSync m_sync;
  Result m_result GUARDED_BY(m_sync);
};

}  // namespace quill
