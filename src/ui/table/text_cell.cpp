// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/text_cell.h"

#include <QApplication>
#include <QPainter>

namespace quill {

void CTextCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                      const QModelIndex& index) const {
  const QStyle* style = option.widget ? option.widget->style() : QApplication::style();
  const bool selected = option.state & QStyle::State_Selected;
  if (selected) {
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
  }
  QString text = index.data(Qt::DisplayRole).toString();
  if (text.isEmpty()) return;
  text.replace(QLatin1Char('\n'), QLatin1Char(' '));

  const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
  const QRect place = option.rect.adjusted(margin, 0, -margin, 0);
  int width = option.fontMetrics.horizontalAdvance(text);
  if (width > place.width()) {
    text = option.fontMetrics.elidedText(text, option.textElideMode, place.width());
    width = option.fontMetrics.horizontalAdvance(text);
  }
  const auto alignment = Qt::Alignment(index.data(Qt::TextAlignmentRole).toInt());
  const QRect line = QStyle::alignedRect(option.direction, alignment,
                                         QSize(width, option.fontMetrics.height()), place);
  const auto group = !(option.state & QStyle::State_Enabled) ? QPalette::Disabled
                     : option.state & QStyle::State_Active   ? QPalette::Active
                                                             : QPalette::Inactive;
  painter->setFont(option.font);
  painter->setPen(
      option.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text));
  painter->drawText(QPoint(line.left(), line.top() + option.fontMetrics.ascent()), text);
}

}  // namespace quill
