// SPDX-License-Identifier: GPL-3.0-or-later
// The two tables of frequency bands. Their edges are the critical bands of hearing; the twelve are
// each about two of the twenty-three wide.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "audio/prints.h"

namespace quill {

// Upper edges in Hz; each band begins where the one before it ends, the first at 0.
inline constexpr std::array<uint32_t, kBarkBands> kBarkEdges = {
    200, 400, 630, 920, 1270, 1720, 2320, 3150, 4400, 6400, 9500, 11025};
inline constexpr std::array<uint32_t, kCorrelogramBands> kCorrelogramEdges = {
    100,  200,  300,  400,  510,  630,  770,  920,  1080, 1270, 1480, 1720,
    2000, 2320, 2700, 3150, 3700, 4400, 5300, 6400, 7700, 9500, 11025};

// The magnitudes of one band, as indices into the `bins` magnitudes of a frame. Index 0 is bin 1 of
// the transform: the mean level is in no band.
struct BandBins {
  size_t begin;
  size_t end;
};
template <size_t kBands>
constexpr std::array<BandBins, kBands> BinsOfBands(const std::array<uint32_t, kBands>& edges,
                                                   size_t bins) {
  std::array<BandBins, kBands> bands{};
  size_t begin = 0;
  for (size_t band = 0; band < kBands; ++band) {
    const size_t end = edges[band] * bins / 11025;
    bands[band] = {begin, end};
    begin = end;
  }
  return bands;
}

}  // namespace quill
