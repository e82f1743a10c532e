// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/mini_spectrum_cell.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

#include "ui/table/results_model.h"

namespace quill {

namespace {

// Bars of a narrower cell have no room for an outline.
constexpr double kOutlinedWidth = 96;

void PaintMiniSpectrum(QPainter* painter, const QRectF& frame, const AnalysisInfo::Spectrum& levels,
                       const QColor& fill, const QColor& stroke) {
  QPainterPath path;
  const auto bands = static_cast<double>(levels.size());
  for (size_t i = 0; i < levels.size(); ++i) {
    const double height = levels[i] / 255.0 * frame.height();
    const double left = static_cast<double>(i) * frame.width() / bands;
    const double right = static_cast<double>(i + 1) * frame.width() / bands;
    path.addRect(frame.left() + left, frame.bottom() - height, right - left, height);
  }
  painter->fillPath(path, fill);
  if (frame.width() >= kOutlinedWidth) painter->strokePath(path, QPen(stroke, 0.5));
}

}  // namespace

void TDXMiniSpectrumCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
  QStyleOptionViewItem cell = option;
  initStyleOption(&cell, index);
  if (cell.state & QStyle::State_Selected) {
    const QStyle* style = cell.widget ? cell.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, cell.widget);
  }
  const QVariant data = index.data(CResultsModel::kSpectrumRole);
  if (!data.isValid()) return;
  const auto spectrum = data.value<MiniSpectrum>();
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  const QRectF frame = QRectF(cell.rect).adjusted(3, 1, -3, -1);
  PaintMiniSpectrum(painter, frame, spectrum.peak, QColor::fromRgbF(1.0F, 0.59F, 0.59F),
                    QColor::fromRgbF(1.0F, 0.39F, 0.39F));
  PaintMiniSpectrum(painter, frame, spectrum.average, QColor::fromRgbF(0.59F, 0.59F, 1.0F),
                    QColor::fromRgbF(0.39F, 0.39F, 1.0F));
  painter->restore();
}

}  // namespace quill
