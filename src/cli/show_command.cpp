// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/analysis_report.h"
#include "cli/commands.h"
#include "cli/loaded_results.h"
#include "cli/pair_report.h"

namespace quill::cli {

int RunShow(const Arguments& arguments) {
  CLoadedResults results;
  if (!results.Load(arguments.words[0], false)) return kExitFailed;
  const PairLists pairs = ListPairs(results.audio, results.images);
  std::string text;
  if (arguments.json) {
    text = ResultsJson(pairs, AnalysisJson(results.analysis), 0, 0);
  } else {
    text = PairTable(pairs);
    const std::string ratings = AnalysisTable(results.analysis);
    if (!text.empty() && !ratings.empty()) text += '\n';
    text += ratings;
  }
  return Print(text) ? kExitDone : kExitFailed;
}

}  // namespace quill::cli
