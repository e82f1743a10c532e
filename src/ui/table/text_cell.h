// SPDX-License-Identifier: GPL-3.0-or-later
// Draws one line of text, as the styles do: background of a selected cell, text at its place, cut
// where the option says. The styles lay each text out three times to get there, which is most of a
// repaint of a table; here it is measured once and drawn. Main thread.
#pragma once

#include <QStyledItemDelegate>

namespace quill {

class CTextCell : public QStyledItemDelegate {
  Q_OBJECT

 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;
};

}  // namespace quill
