// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/spectrogram_view.h"

#include <QPainter>
#include <algorithm>

#include "inspection/curve_shape.h"
#include "inspection/level_scale.h"
#include "ui/inspection/spectrum_axes.h"

namespace quill {

namespace {

constexpr SpectrumSettings kSettings{
    "spectrogramYAxis", "spectrogramSize", "spectrogramOverlap", true, 4096, 50};
constexpr int kMargin = 5;
// Below it a scale by the greatest level would only enlarge noise.
constexpr float kLeastMaximum = 1e-06F;

struct Curve {
  QColor fill, line;
  const char* legend;
  int legendTop;
};

const Curve kPeak{QColor::fromRgbF(1.0F, 0.59F, 0.59F), QColor::fromRgbF(1.0F, 0.39F, 0.39F),
                  "Maximum", 5};
const Curve kMean{QColor::fromRgbF(0.59F, 0.59F, 1.0F), QColor::fromRgbF(0.39F, 0.39F, 1.0F),
                  "Average", 25};

void PaintLegend(QPainter& painter, const QRect& graph, const Curve& curve, const QColor& ink,
                 const QString& text) {
  constexpr int kWidth = 20, kHeight = 16, kRight = 25, kTextRight = 30, kTextWidth = 100;
  constexpr int kTextPixels = 12;
  const QRect swatch(graph.right() + 1 - kRight, graph.top() + curve.legendTop, kWidth, kHeight);
  painter.setPen(curve.line);
  painter.setBrush(curve.fill);
  painter.drawRect(swatch.adjusted(0, 0, -1, -1));
  QFont font = painter.font();
  font.setPixelSize(kTextPixels);
  painter.setFont(font);
  painter.setPen(ink);
  painter.drawText(
      QRect(graph.right() + 1 - kTextRight - kTextWidth, swatch.top(), kTextWidth, kHeight),
      Qt::AlignRight | Qt::AlignVCenter, text);
}

}  // namespace

TDXSpectrogramView::TDXSpectrogramView(CMainQueue& queue, QWidget* parent)
    : CSpectrumView(kSettings, queue, parent) {
  setAccessibleName(tr("Levels over the frequency: maximum and average"));
  Connect(m_builder);
}

bool TDXSpectrogramView::HasResults() const {
  bool has = false;
  m_builder.Visit(
      [&](const CSpectrogramBuilder::Result& result) { has = !result.means[0].empty(); });
  return has;
}

void TDXSpectrogramView::DrawResults(QPainter& painter) {
  m_builder.Visit([&](const CSpectrogramBuilder::Result& result) {
    const QRect all = rect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
    const int half = (height() - 2 * kMargin) / 2;
    PaintPanel(painter, QRect(all.left(), all.top(), all.width(), half), result, 0);
    PaintPanel(painter, QRect(all.left(), all.top() + half, all.width(), half), result, 1);
  });
}

void TDXSpectrogramView::PaintPanel(QPainter& painter, const QRect& panel,
                                    const CSpectrogramBuilder::Result& result,
                                    size_t channel) const {
  const QRect graph = GraphRect(panel, AxisFont(font()));
  if (!IsLargeEnough(graph)) return;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setClipRect(graph);
  PaintGraph(painter, graph, result.peaks[channel], result.maxValue, kPeak.fill, kPeak.line);
  PaintGraph(painter, graph, result.means[channel], result.maxValue, kMean.fill, kMean.line);
  painter.restore();
  painter.setFont(AxisFont(font()));
  {
    CSpectrumAxes axes(painter, palette(), graph);
    IsLogarithmic() ? axes.DrawDecibels() : axes.DrawLevels(result.maxValue);
    axes.DrawFrequencies(result.sampleRate);
  }
  for (const Curve& curve : {kPeak, kMean})
    PaintLegend(painter, graph, curve, palette().color(QPalette::Text),
                QString::fromLatin1(curve.legend));
}

void TDXSpectrogramView::PaintGraph(QPainter& painter, const QRect& graph,
                                    const CFloatVector& levels, float maxValue, const QColor& fill,
                                    const QColor& line) const {
  if (!IsLogarithmic() && maxValue < kLeastMaximum) return;
  const double bottom = graph.bottom() + 1;
  const auto top = [&](float level) {
    const double fraction =
        IsLogarithmic() ? DecibelFraction(level) : static_cast<double>(level) / maxValue;
    return bottom - std::clamp(fraction, 0.0, 1.0) * graph.height();
  };
  const auto bars = CurveBars(levels.data(), levels.size(), graph.width());
  if (HasBarPerBin(levels.size(), graph.width())) {
    for (const CurveBar& bar : bars) {
      const QRectF place(QPointF(graph.left() + bar.left, top(bar.level)),
                         QPointF(graph.left() + bar.right, bottom));
      painter.fillRect(place, fill);
      painter.setPen(QPen(line, 0.5));
      painter.drawRect(place);
    }
    return;
  }
  QPolygonF outline;
  outline.append(QPointF(graph.left(), bottom));
  for (const CurveBar& bar : bars) outline.append(QPointF(graph.left() + bar.left, top(bar.level)));
  if (!bars.empty()) outline.append(QPointF(graph.right() + 1, top(bars.back().level)));
  outline.append(QPointF(graph.right() + 1, bottom));
  painter.setBrush(fill);
  painter.setPen(QPen(line, 0.5));
  painter.drawPolygon(outline);
}

}  // namespace quill
