// SPDX-License-Identifier: GPL-3.0-or-later
// The columns of the three result tables, in their order at the first start: what their headers
// say, how wide they are, which ones a user sees before choosing. Cells and sorting go by the
// field.
#pragma once

#include <span>

#include "results/field_id.h"

namespace quill {

struct TableColumn {
  enum class Kind {
    kText,    // at the left, cut at the end
    kPath,    // at the left, cut in the middle, whole in the tooltip
    kNumber,  // at the right
    kCentred,
    kScore,     // a bar
    kSpectrum,  // bars of 32 bands
  };

  FieldId field;
  const char* title;
  const char* toolTip;
  Kind kind;
  int characters;  // width, in average characters
  bool shown;      // at the first start
};

[[nodiscard]] std::span<const TableColumn> AudioDupsColumns();
[[nodiscard]] std::span<const TableColumn> ImageDupsColumns();
[[nodiscard]] std::span<const TableColumn> AudioAnalysisColumns();

}  // namespace quill
