// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/quality_cells.h"

#include "results/field_text.h"
#include "ui/widgets/path_text.h"
#include "ui/widgets/readable_color.h"

namespace quill {

QString SharedText(FieldId field, const AnalysisInfo* info) {
  return ShownPath(AnalysisText(field, info));
}

ScoreBar RatingBar(const CAudioAnalysisController::ItemData* item) {
  return {item ? item->rating : -1.0F, kRedText, QColor::fromRgbF(1.0F, 0.66F, 0.66F),
          QColor::fromRgbF(0.33F, 0.66F, 1.0F)};
}

}  // namespace quill
