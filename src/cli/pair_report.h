// SPDX-License-Identifier: GPL-3.0-or-later
// The outcome of a scan as text: tables for people, one JSON object for programs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"

namespace quill::cli {

struct PairLine {
  uint32_t group = 0;
  std::string a, b;           // a before b in the order of bytes
  std::vector<float> scores;  // in the order of the table's columns; below 0 is not computed
};

// Every match once, by group and then by name: the same folders give the same list whatever the
// order in which threads found the pairs.
struct PairLists {
  std::vector<PairLine> audio;   // tags, content, precise
  std::vector<PairLine> images;  // content, experimental

  [[nodiscard]] size_t Count() const { return audio.size() + images.size(); }
};
[[nodiscard]] PairLists ListPairs(const CAudioDupsController& audio,
                                  const CImageDupsController& images);

// A heading a group, then two lines a pair; "-" for a score that was not computed.
[[nodiscard]] std::string PairTable(const PairLists& pairs);
// The whole object: pairs, the list of analysis_report.h, and the counts of the scan.
[[nodiscard]] std::string ResultsJson(const PairLists& pairs, const std::string& analysis,
                                      int32_t scheduled, int32_t processed);

}  // namespace quill::cli
