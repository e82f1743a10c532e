// The outcome of a scan as text: a table for people, one JSON object for programs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "results/audio_dups_controller.h"

namespace quill::cli {

struct AudioPairLine {
  uint32_t group = 0;
  std::string a, b;  // a before b in the order of bytes
  float tags = -1, content = -1, precise = -1;
};

// Every match once, by group and then by name: the same folders give the same list whatever the
// order in which threads found the pairs.
[[nodiscard]] std::vector<AudioPairLine> ListPairs(const CAudioDupsController& controller);

// A heading a group, then two lines a pair; "-" for a score that was not computed.
[[nodiscard]] std::string PairTable(const std::vector<AudioPairLine>& pairs);
[[nodiscard]] std::string PairJson(const std::vector<AudioPairLine>& pairs, int32_t scheduled,
                                   int32_t processed);

}  // namespace quill::cli
