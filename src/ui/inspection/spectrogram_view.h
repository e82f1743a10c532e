// SPDX-License-Identifier: GPL-3.0-or-later
// The long-term spectrum of a file: peak and mean level over the frequency, a panel for each of two
// channels. Main thread.
#pragma once

#include "inspection/spectrogram_builder.h"
#include "ui/inspection/spectrum_view.h"

namespace quill {

class TDXSpectrogramView : public CSpectrumView {
  Q_OBJECT

 public:
  explicit TDXSpectrogramView(CMainQueue& queue, QWidget* parent = nullptr);

 protected:
  [[nodiscard]] bool HasResults() const override;
  void DrawResults(QPainter& painter) override;

 private:
  void PaintPanel(QPainter& painter, const QRect& panel, const CSpectrogramBuilder::Result& result,
                  size_t channel) const;
  void PaintGraph(QPainter& painter, const QRect& graph, const CFloatVector& levels, float maxValue,
                  const QColor& fill, const QColor& line) const;

  CSpectrogramBuilder m_builder;
};

}  // namespace quill
