// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/score_cell.h"

#include <QApplication>
#include <QPainter>
#include <QPixmap>
#include <QPixmapCache>
#include <algorithm>

#include "ui/widgets/color_blend.h"
#include "ui/widgets/readable_color.h"

namespace quill {

namespace {

constexpr int kRadius = 3;
// The text of a score is a little smaller than the text of the table.
constexpr double kTextScale = 11.5 / 13;

// The empty bar. One size and colour serves all cells of a column, and drawing it anew for each
// would be the dearest part of a cell.
QPixmap Paper(const QSize& size, const QColor& paper, double pixelRatio) {
  const QString key = QString::asprintf("score-paper %dx%d %08x %.2f", size.width(), size.height(),
                                        paper.rgba(), pixelRatio);
  QPixmap pixmap;
  if (QPixmapCache::find(key, &pixmap)) return pixmap;
  pixmap = QPixmap(size * pixelRatio);
  pixmap.setDevicePixelRatio(pixelRatio);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(Shade(paper, 0.4), 1));
  painter.setBrush(paper);
  painter.drawRoundedRect(QRectF(QPointF(), size).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
  painter.end();
  QPixmapCache::insert(key, pixmap);
  return pixmap;
}

void DrawBar(QPainter* painter, const QRect& place, const ScoreBar& bar, const QPalette& palette) {
  const QColor base = palette.color(QPalette::Base), text = palette.color(QPalette::Text);
  const QColor paper = IsDark(base) ? base : QColor(Qt::white);
  QColor color = BarColor(bar, paper);
  // On a light palette the text stands on the pale middle of the bar and reads well.
  if (IsDark(base)) color = ReadableOn(text, color);

  painter->drawPixmap(place.topLeft(),
                      Paper(place.size(), paper, painter->device()->devicePixelRatioF()));
  // Line by line: a gradient brush makes a table of a thousand colours for every new score.
  const QRect inside = place.adjusted(1, 1, -1, -1);
  const int length = qRound(inside.width() * std::min(1.0, static_cast<double>(bar.score)));
  const int lines = inside.height();
  for (int line = 0; line < lines; ++line) {
    // The round corners of the frame.
    const int corner = std::max(0, kRadius - 2 - std::min(line, lines - 1 - line));
    const int end = std::min(length, inside.width() - corner);
    if (end <= corner) continue;
    painter->fillRect(inside.left() + corner, inside.top() + line, end - corner, 1,
                      Blend(color, paper, 0.75 * (lines - line - 0.5) / lines));
  }
}

}  // namespace

QColor BarColor(const ScoreBar& bar, const QColor& paper) {
  const double score = std::clamp(static_cast<double>(bar.score), 0.0, 1.0);
  const QColor low = bar.colorMin.isValid() ? bar.colorMin : paper;
  if (!bar.colorMid.isValid()) return Blend(bar.colorMax, low, 1 - score);
  if (score > 0.5) return Blend(bar.colorMax, bar.colorMid, 1 - (score - 0.5) * 2);
  return Blend(bar.colorMid, low, 1 - score * 2);
}

void TDXScoreCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
  QStyleOptionViewItem cell = option;
  initStyleOption(&cell, index);
  const QString text = cell.text;
  if (cell.state & QStyle::State_Selected) {
    const QStyle* style = cell.widget ? cell.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, cell.widget);
  }
  const QVariant score = index.data(CResultsModel::kScoreRole);
  if (!score.isValid()) return;
  const auto bar = score.value<ScoreBar>();

  painter->save();
  const QRect frame = cell.rect.adjusted(3, 1, -3, -1);
  QFont font = cell.font;
  font.setBold(false);
  if (bar.score >= 0) {
    QPalette active = cell.palette;
    active.setCurrentColorGroup(cell.state & QStyle::State_Enabled ? QPalette::Active
                                                                   : QPalette::Disabled);
    // The text lies on the bar's own paper: neither selection nor mark reach it.
    if (cell.widget) active.setColor(QPalette::Text, cell.widget->palette().color(QPalette::Text));
    DrawBar(painter, frame.adjusted(4, 2, -4, -2), bar, active);
    if (font.pointSizeF() > 0) font.setPointSizeF(font.pointSizeF() * kTextScale);
    painter->setPen(active.color(QPalette::Text));
  } else {
    const bool focused = cell.state & QStyle::State_Active;
    painter->setPen(cell.palette.color(
        focused ? QPalette::Active : QPalette::Inactive,
        cell.state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text));
  }
  painter->setFont(font);
  painter->drawText(frame, Qt::AlignCenter,
                    QFontMetrics(font).elidedText(text, Qt::ElideRight, frame.width()));
  painter->restore();
}

}  // namespace quill
