// SPDX-License-Identifier: GPL-3.0-or-later
// Measured quality as text: a table for people, with the worst files on top, and a JSON list for
// programs, by path.
#pragma once

#include <string>

#include "results/audio_analysis_controller.h"

namespace quill::cli {

// Empty for an empty table.
[[nodiscard]] std::string AnalysisTable(const CAudioAnalysisController& table);
[[nodiscard]] std::string AnalysisJson(const CAudioAnalysisController& table);
// The list of a scan that measured nothing.
inline constexpr const char* kNoAnalysisJson = "[]";

}  // namespace quill::cli
