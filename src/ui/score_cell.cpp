#include "ui/score_cell.h"

#include <QApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

#include "ui/readable_color.h"

namespace quill {

namespace {

constexpr double kRadius = 3;
// The text of a score is a little smaller than the text of the table.
constexpr double kTextScale = 11.5 / 13;

void DrawBar(QPainter* painter, const QRectF& place, const ScoreBar& bar, const QPalette& palette) {
  const QColor base = palette.color(QPalette::Base), text = palette.color(QPalette::Text);
  const QColor paper = IsDark(base) ? base : QColor(Qt::white);
  QColor color = BarColor(bar, paper);
  // On a light palette the text stands on the pale middle of the bar and reads well.
  if (IsDark(base)) color = ReadableOn(text, color);

  QPainterPath outline;
  outline.addRoundedRect(place, kRadius, kRadius);
  painter->fillPath(outline, paper);
  QRectF filled = place;
  filled.setWidth(place.width() * std::min(1.0, static_cast<double>(bar.score)));
  QPainterPath part;
  part.addRect(filled);
  QLinearGradient gradient(place.bottomLeft(), place.topLeft());
  gradient.setColorAt(0, color);
  gradient.setColorAt(1, Blend(color, paper, 0.75));
  painter->fillPath(outline.intersected(part), gradient);
  painter->strokePath(outline, QPen(Shade(paper, 0.4), 1));
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
  const QStyle* style = cell.widget ? cell.widget->style() : QApplication::style();
  style->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, cell.widget);
  const QVariant score = index.data(CResultsModel::kScoreRole);
  if (!score.isValid()) return;
  const auto bar = score.value<ScoreBar>();

  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  const QRectF frame = QRectF(cell.rect).adjusted(3, 1, -3, -1);
  QFont font = cell.font;
  font.setBold(false);
  if (bar.score >= 0) {
    QPalette active = cell.palette;
    active.setCurrentColorGroup(cell.state & QStyle::State_Enabled ? QPalette::Active
                                                                   : QPalette::Disabled);
    // The text lies on the bar's own paper: neither selection nor mark reach it.
    if (cell.widget) active.setColor(QPalette::Text, cell.widget->palette().color(QPalette::Text));
    DrawBar(painter, frame.adjusted(4.5, 2.5, -4.5, -2.5), bar, active);
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
                    QFontMetricsF(font).elidedText(text, Qt::ElideRight, frame.width()));
  painter->restore();
}

}  // namespace quill
