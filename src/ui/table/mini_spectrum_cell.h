// SPDX-License-Identifier: GPL-3.0-or-later
// Draws the cell of a spectrum: a bar for each of its 32 bands, the average in front of the peak.
// Main thread.
#pragma once

#include <QStyledItemDelegate>

namespace quill {

class TDXMiniSpectrumCell : public QStyledItemDelegate {
  Q_OBJECT

 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
};

}  // namespace quill
