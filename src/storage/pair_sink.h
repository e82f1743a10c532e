// SPDX-License-Identifier: GPL-3.0-or-later
// Where an engine reports the pairs that it finds; the model of a duplicates table implements it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/reference.h"

namespace quill {

// Two files by their descriptions, the groups of the folders that they were found under, and the
// scores of their comparison: from 0 to 1, -1 for one that was not computed.
template <class Info, size_t kScores>
struct FoundPair {
  CRef<const Info> first, second;
  uint8_t firstGroup = 0, secondGroup = 0;
  std::array<float, kScores> scores{};
};

template <class Info, size_t kScores>
class CPairSink {
 public:
  using Found = FoundPair<Info, kScores>;

  virtual ~CPairSink() = default;
  // Worker threads. False after a report for a null record; the engines go on.
  virtual bool LockedAdd(Found pair) = 0;
};

}  // namespace quill
