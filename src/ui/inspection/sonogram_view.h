// SPDX-License-Identifier: GPL-3.0-or-later
// The spectrum of a file over its time, a pixel column a frame of sound; scrolls when there are
// more frames than columns. A panel for each channel. Main thread.
#pragma once

#include <QImage>
#include <array>

#include "inspection/sonogram_builder.h"
#include "ui/inspection/spectrum_view.h"

class QScrollBar;

namespace quill {

class TDXSonogramView : public CSpectrumView {
  Q_OBJECT

 public:
  explicit TDXSonogramView(CMainQueue& queue, QWidget* parent = nullptr);

 protected:
  [[nodiscard]] bool HasResults() const override;
  void DrawResults(QPainter& painter) override;
  void ResultsChanged() override;
  void ScaleChanged() override { m_img = {}; }
  [[nodiscard]] QRect DrawnRect() const override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  using Result = CSonogramBuilder::Result;

  [[nodiscard]] QRect PanelRect(size_t channel, size_t channels) const;
  void UpdateRange();
  void PaintPanel(QPainter& painter, const Result& result, size_t channel, size_t channels);
  // The picture of the frames from m_pos on, made anew only when it must be.
  const QImage& PaintGraph(const Result& result, size_t channel, const QSize& size);

  CSonogramBuilder m_builder;
  QScrollBar* m_scroll;
  // One a channel; each pixel is one of the screen's.
  std::array<QImage, 2> m_img;
  size_t m_pos = 0;   // the first frame that the pictures show
  size_t m_step = 0;  // samples between two frames of the results that the range is for
};

}  // namespace quill
