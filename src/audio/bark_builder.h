// SPDX-License-Identifier: GPL-3.0-or-later
// How far the spectrum changes from one stretch of a file to the next, in twelve bands: the series
// behind a BarkPrint. Takes one frame of magnitudes after the other and needs only the last few of
// them, so that a whole minute of spectra is never held. One thread an object.
#pragma once

#include <array>
#include <cstddef>

#include "audio/bark_bands.h"
#include "signal/aligned_allocator.h"

namespace quill {

class CBarkBuilder {
 public:
  using Series = std::array<CFloatVector, kBarkBands>;

  // Empties `out`, which must outlive the builder. `frame` is the number of magnitudes in a frame,
  // enough for two in each band (111); `block` the number of frames that are summed before sums are
  // compared, at least 1.
  CBarkBuilder(size_t frame, size_t block, Series* out);

  // From frame 2 x block - 1 on, each appends one value a band: the Pearson coefficient of the sum
  // of the last `block` frames with the sum of the `block` frames ahead of those. False when a
  // primitive fails.
  [[nodiscard]] bool Add(const float* magnitudes);

 private:
  // One block sum, and the statistics of its bands.
  struct Sum {
    CFloatVector values;
    std::array<float, kBarkBands> mean;
    std::array<float, kBarkBands> invdev;
  };

  [[nodiscard]] bool Measure(Sum* sum) const;
  [[nodiscard]] bool Compare(const Sum& earlier, const Sum& later);

  const size_t m_frame;
  const size_t m_block;
  const std::array<BandBins, kBarkBands> m_bands;
  Series* const m_out;
  size_t m_count = 0;                  // frames added
  std::vector<CFloatVector> m_frames;  // the last `block`, by index modulo `block`
  std::vector<Sum> m_sums;             // the last block + 1, by index of the first frame likewise
};

}  // namespace quill
