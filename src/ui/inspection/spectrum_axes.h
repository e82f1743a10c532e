// SPDX-License-Identifier: GPL-3.0-or-later
// Draws the axes of a spectrum beside its graph: labels in the strips at the left and below, and a
// grid line across the graph for each. Main thread.
#pragma once

#include <QColor>
#include <QRect>
#include <QString>

class QFont;
class QPainter;
class QPalette;

namespace quill {

// Where a panel with axes has its graph.
[[nodiscard]] QRect GraphRect(const QRect& panel, const QFont& axisFont);
// Too small a graph shows nothing at all.
[[nodiscard]] bool IsLargeEnough(const QRect& graph);
// The font of all axes for a widget's font.
[[nodiscard]] QFont AxisFont(QFont font);

class CSpectrumAxes {
 public:
  // Works on the painter until its own end; the painter's state is the caller's again then.
  CSpectrumAxes(QPainter& painter, const QPalette& palette, const QRect& graph);
  ~CSpectrumAxes();
  CSpectrumAxes(const CSpectrumAxes&) = delete;
  CSpectrumAxes& operator=(const CSpectrumAxes&) = delete;

  // 0 dB at the top, -150 dB at the bottom.
  void DrawDecibels();
  // The greatest level at the top, 0 at the bottom.
  void DrawLevels(float maxValue);
  // From 0 at the left to half the sample rate.
  void DrawFrequencies(uint32_t sampleRate);
  // From 0 at the bottom to half the sample rate.
  void DrawRisingFrequencies(uint32_t sampleRate, bool logarithmic);
  // The seconds at the left edge, and what a pixel covers. Marks stand at round times, so that they
  // travel with the sound when it is scrolled.
  void DrawTimes(double first, double perPixel);

 private:
  void DrawTop(const QString& text);
  void DrawBottom(const QString& text);
  void DrawRow(double y, const QString& text);
  void DrawColumn(double x, const QString& text);
  [[nodiscard]] double Width(const QString& text) const;

  QPainter& m_painter;
  QRect m_graph;
  QColor m_text, m_grid;
};

}  // namespace quill
