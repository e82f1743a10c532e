// SPDX-License-Identifier: GPL-3.0-or-later
// The cells of an audio file's quality, which the quality table and the duplicates table show
// alike.
#pragma once

#include <QString>

#include "results/audio_analysis_controller.h"
#include "ui/table/results_model.h"

namespace quill {

// The text of a column of quality; "-" where there is no record.
[[nodiscard]] QString SharedText(FieldId field, const AnalysisInfo* info);
// With no item: not computed.
[[nodiscard]] ScoreBar RatingBar(const CAudioAnalysisController::ItemData* item);

}  // namespace quill
