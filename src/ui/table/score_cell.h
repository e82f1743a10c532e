// SPDX-License-Identifier: GPL-3.0-or-later
// Draws the cell of a score: a bar as long as the score with its text over it, or a dash where
// there is none. Main thread.
#pragma once

#include <QStyledItemDelegate>

#include "ui/table/results_model.h"

namespace quill {

// The colour of the bar: from `colorMin` over `colorMid`, if there is one, to `colorMax` as the
// score rises. `paper` stands in for a `colorMin` that is not told.
[[nodiscard]] QColor BarColor(const ScoreBar& bar, const QColor& paper);

class TDXScoreCell : public QStyledItemDelegate {
  Q_OBJECT

 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
};

}  // namespace quill
