// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/spectrum_axes.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPalette>
#include <algorithm>
#include <cmath>

#include "inspection/axis_ticks.h"
#include "inspection/level_scale.h"
#include "inspection/sonogram_picture.h"
#include "ui/widgets/color_blend.h"

namespace quill {

namespace {

constexpr int kLevelStrip = 50;
constexpr int kBottomStrip = 20;
constexpr int kLeastWidth = 100, kLeastHeight = 60;
constexpr double kGap = 4;  // between a label and the graph
constexpr double kFontScale = 0.85;
constexpr int kPercent = 100;

QString FrequencyText(double hertz) {
  if (hertz < 1000) return QStringLiteral("%1 Hz").arg(hertz);
  return QStringLiteral("%1 kHz").arg(hertz / 1000);
}

// Steps of seconds between two marks of time.
constexpr double kTimeSteps[] = {0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2,
                                 0.5,   1,     2,     5,    10,   15,   30,  60,
                                 120,   300,   600,   900,  1800, 3600, 7200};

QString TimeText(double seconds, double step) {
  const int decimals = step < 0.01 ? 3 : step < 0.1 ? 2 : step < 1 ? 1 : 0;
  const auto minutes = static_cast<int>(std::floor(seconds / 60 + 1e-9));
  const double rest = std::max(0.0, seconds - minutes * 60.0);
  return QStringLiteral("%1:%2").arg(minutes).arg(rest, decimals ? decimals + 3 : 2, 'f', decimals,
                                                  QChar('0'));
}

}  // namespace

QFont AxisFont(QFont font) {
  if (font.pointSizeF() > 0)
    font.setPointSizeF(font.pointSizeF() * kFontScale);
  else
    font.setPixelSize(qRound(font.pixelSize() * kFontScale));
  return font;
}

QRect GraphRect(const QRect& panel, const QFont& axisFont) {
  // The strips grow with a user's larger font.
  const QFontMetricsF metrics(axisFont);
  const int left = std::max(
      kLevelStrip, static_cast<int>(std::ceil(metrics.horizontalAdvance("-150 dB") + 2 * kGap)));
  const int bottom = std::max(kBottomStrip, static_cast<int>(std::ceil(metrics.height() + kGap)));
  return panel.adjusted(left, 0, 0, -bottom);
}

bool IsLargeEnough(const QRect& graph) {
  return graph.width() >= kLeastWidth && graph.height() >= kLeastHeight;
}

CSpectrumAxes::CSpectrumAxes(QPainter& painter, const QPalette& palette, const QRect& graph)
    : m_painter(painter), m_graph(graph), m_text(palette.color(QPalette::Text)) {
  m_grid = Blend(palette.color(QPalette::Base), m_text, 0.5);
  m_grid.setAlphaF(0.35F);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, false);
}

CSpectrumAxes::~CSpectrumAxes() {
  m_painter.setPen(m_grid);
  m_painter.setBrush(Qt::NoBrush);
  m_painter.drawRect(m_graph.adjusted(0, 0, -1, -1));
  m_painter.restore();
}

double CSpectrumAxes::Width(const QString& text) const {
  return QFontMetricsF(m_painter.font()).horizontalAdvance(text);
}

// ---- the axis at the left

void CSpectrumAxes::DrawTop(const QString& text) {
  m_painter.setPen(m_text);
  const double height = QFontMetricsF(m_painter.font()).height();
  m_painter.drawText(QRectF(0, m_graph.top(), m_graph.left() - kGap, height),
                     Qt::AlignRight | Qt::AlignTop, text);
}

void CSpectrumAxes::DrawBottom(const QString& text) {
  m_painter.setPen(m_text);
  const double height = QFontMetricsF(m_painter.font()).height();
  m_painter.drawText(QRectF(0, m_graph.bottom() + 1 - height, m_graph.left() - kGap, height),
                     Qt::AlignRight | Qt::AlignBottom, text);
}

void CSpectrumAxes::DrawRow(double y, const QString& text) {
  const double height = QFontMetricsF(m_painter.font()).height();
  m_painter.setPen(m_text);
  m_painter.drawText(QRectF(0, y, m_graph.left() - kGap, height), Qt::AlignRight | Qt::AlignTop,
                     text);
  m_painter.setPen(m_grid);
  m_painter.drawLine(QPointF(m_graph.left() - kGap, y), QPointF(m_graph.right(), y));
}

namespace {

// The ticks of an axis that grows downward, between the labels of its two ends.
std::vector<AxisTick> RowTicks(const QRect& graph, double labelHeight,
                               const std::function<double(double share)>& valueAt,
                               const std::function<double(double value)>& shareOf) {
  const double top = graph.top(), height = graph.height();
  return AxisTicks({[&](double y) { return valueAt((y - top) / height); },
                    [&](int value) { return top + shareOf(value) * height; }, [](int) { return 0; },
                    [=](int) { return labelHeight; }},
                   top + labelHeight, top + height - labelHeight);
}

}  // namespace

void CSpectrumAxes::DrawDecibels() {
  DrawTop(QStringLiteral("0 dB"));
  DrawBottom(QStringLiteral("-%1 dB").arg(kScaleDecibels));
  const auto ticks = RowTicks(
      m_graph, QFontMetricsF(m_painter.font()).height(),
      [](double share) { return share * kScaleDecibels; },
      [](double value) { return value / kScaleDecibels; });
  for (const AxisTick& tick : ticks)
    DrawRow(tick.position, QStringLiteral("-%1 dB").arg(tick.value));
}

void CSpectrumAxes::DrawLevels(float maxValue) {
  const auto most = static_cast<double>(maxValue);
  DrawTop(maxValue == 1 ? QStringLiteral("1") : QString::number(most, 'f', 3));
  DrawBottom(QStringLiteral("0"));
  const auto ticks = RowTicks(
      m_graph, QFontMetricsF(m_painter.font()).height(),
      [](double share) { return (1 - share) * kPercent; },
      [](double value) { return 1 - value / kPercent; });
  for (const AxisTick& tick : ticks)
    DrawRow(tick.position, QString::number(tick.value * 0.01 * most, 'f', 3));
}

void CSpectrumAxes::DrawRisingFrequencies(uint32_t sampleRate, bool logarithmic) {
  const double most = sampleRate / 2.0;
  DrawTop(FrequencyText(most));
  DrawBottom(FrequencyText(0));
  const auto ticks = RowTicks(
      m_graph, QFontMetricsF(m_painter.font()).height(),
      [&](double share) { return SonogramScale(1 - share, logarithmic) * most; },
      [&](double value) { return 1 - SonogramPlace(value / most, logarithmic); });
  for (const AxisTick& tick : ticks) DrawRow(tick.position, FrequencyText(tick.value));
}

// ---- the axis below

void CSpectrumAxes::DrawColumn(double x, const QString& text) {
  const double width = Width(text);
  m_painter.setPen(m_text);
  m_painter.drawText(QPointF(x - width / 2, m_graph.bottom() + 1 + kGap / 2 +
                                                QFontMetricsF(m_painter.font()).ascent()),
                     text);
  m_painter.setPen(m_grid);
  m_painter.drawLine(QPointF(x, m_graph.top()), QPointF(x, m_graph.bottom() + kGap));
}

void CSpectrumAxes::DrawFrequencies(uint32_t sampleRate) {
  const double most = sampleRate / 2.0, left = m_graph.left(), width = m_graph.width();
  const QString first = FrequencyText(0), last = FrequencyText(most);
  const double y = m_graph.bottom() + 1 + kGap / 2 + QFontMetricsF(m_painter.font()).ascent();
  m_painter.setPen(m_text);
  m_painter.drawText(QPointF(left, y), first);
  m_painter.drawText(QPointF(left + width - Width(last), y), last);
  const auto half = [this](int value) { return Width(FrequencyText(value)) / 2 + kGap; };
  const auto ticks = AxisTicks({[&](double x) { return (x - left) / width * most; },
                                [&](int value) { return left + value / most * width; }, half, half},
                               left + Width(first) + kGap, left + width - Width(last) - kGap);
  for (const AxisTick& tick : ticks) DrawColumn(tick.position, FrequencyText(tick.value));
}

void CSpectrumAxes::DrawTimes(double first, double perPixel) {
  const double least = (Width(TimeText(first, 1)) + 8 * kGap) * perPixel;
  const double step = *std::find_if(std::begin(kTimeSteps), std::end(kTimeSteps) - 1,
                                    [least](double seconds) { return seconds >= least; });
  for (double mark = std::ceil(first / step - 1e-9);; ++mark) {
    const double x = m_graph.left() + (mark * step - first) / perPixel;
    const QString text = TimeText(mark * step, step);
    if (x > m_graph.right()) break;
    const double half = Width(text) / 2;
    // Cut labels say less than none.
    if (x - half < 0 || x + half > m_graph.right() + 1 + kGap) continue;
    DrawColumn(x, text);
  }
}

}  // namespace quill
