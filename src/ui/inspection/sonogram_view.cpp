// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/sonogram_view.h"

#include <QCoreApplication>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>

#include "inspection/sonogram_picture.h"
#include "ui/inspection/spectrum_axes.h"

namespace quill {

namespace {

constexpr SpectrumSettings kSettings{"sonogramYAxis", "sonogramSize", "sonogramOverlap",
                                     false,           1024,           0};
constexpr int kMargin = 5;
constexpr int kScrollStep = 20;

}  // namespace

TDXSonogramView::TDXSonogramView(CMainQueue& queue, QWidget* parent)
    : CSpectrumView(kSettings, queue, parent), m_scroll(new QScrollBar(Qt::Horizontal, this)) {
  setAccessibleName(tr("Frequencies over the time"));
  m_scroll->setAccessibleName(tr("Place in the file"));
  m_scroll->setSingleStep(kScrollStep);
  // The arrow keys are the scroll bar's, wherever the view was clicked.
  m_scroll->setFocusPolicy(Qt::StrongFocus);
  setFocusProxy(m_scroll);
  m_scroll->setEnabled(false);
  connect(m_scroll, &QScrollBar::valueChanged, this, qOverload<>(&QWidget::update));
  Connect(m_builder);
}

bool TDXSonogramView::HasResults() const {
  bool has = false;
  m_builder.Visit([&](const Result& result) { has = result.FrameCount() > 0; });
  return has;
}

void TDXSonogramView::ResultsChanged() {
  m_img = {};
  UpdateRange();
}

void TDXSonogramView::resizeEvent(QResizeEvent* event) {
  CSpectrumView::resizeEvent(event);
  const int height = m_scroll->sizeHint().height();
  m_scroll->setGeometry(0, this->height() - height, width(), height);
  UpdateRange();
}

void TDXSonogramView::wheelEvent(QWheelEvent* event) {
  QCoreApplication::sendEvent(m_scroll, event);
}

QRect TDXSonogramView::DrawnRect() const {
  return rect().adjusted(0, 0, 0, -m_scroll->height());
}

QRect TDXSonogramView::PanelRect(size_t channel, size_t channels) const {
  const QRect all = DrawnRect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
  const int height = all.height() / static_cast<int>(channels);
  return {all.left(), all.top() + static_cast<int>(channel) * height, all.width(), height};
}

void TDXSonogramView::UpdateRange() {
  m_builder.Visit([&](const Result& result) {
    const QRect graph = GraphRect(PanelRect(0, 1), AxisFont(font()));
    const int columns = qRound(graph.width() * devicePixelRatioF());
    const auto frames = static_cast<int>(result.FrameCount());
    // A new run with other frames stays at the same time of the file.
    const double time = static_cast<double>(m_scroll->value()) * static_cast<double>(m_step);
    const bool moved = m_step != 0 && m_step != result.step && result.step != 0;
    m_step = result.step;
    m_scroll->setRange(0, std::max(0, frames - columns));
    m_scroll->setPageStep(std::max(1, columns));
    m_scroll->setEnabled(m_scroll->maximum() > 0);
    if (moved) m_scroll->setValue(qRound(time / static_cast<double>(m_step)));
  });
}

void TDXSonogramView::DrawResults(QPainter& painter) {
  const auto pos = static_cast<size_t>(m_scroll->value());
  if (pos != std::exchange(m_pos, pos)) m_img = {};
  m_builder.Visit([&](const Result& result) {
    const size_t channels = result.values[1].empty() ? 1 : 2;
    for (size_t channel = 0; channel < channels; ++channel)
      PaintPanel(painter, result, channel, channels);
  });
}

void TDXSonogramView::PaintPanel(QPainter& painter, const Result& result, size_t channel,
                                 size_t channels) {
  const QRect graph = GraphRect(PanelRect(channel, channels), AxisFont(font()));
  if (!IsLargeEnough(graph)) return;
  const double ratio = devicePixelRatioF();
  painter.drawImage(
      graph, PaintGraph(result, channel,
                        QSize(qRound(graph.width() * ratio), qRound(graph.height() * ratio))));
  painter.setFont(AxisFont(font()));
  CSpectrumAxes axes(painter, palette(), graph);
  axes.DrawRisingFrequencies(result.sampleRate, IsLogarithmic());
  const double frame = static_cast<double>(result.step) / result.sampleRate;
  axes.DrawTimes(static_cast<double>(m_pos) * frame, frame * ratio);
}

const QImage& TDXSonogramView::PaintGraph(const Result& result, size_t channel, const QSize& size) {
  QImage& image = m_img[channel];
  if (image.size() != size) {
    image = QImage(size, QImage::Format_RGB32);
    PaintSonogram(result.values[channel].data(), result.FrameCount(), result.valuesLen, m_pos,
                  size.width(), size.height(), IsLogarithmic(),
                  reinterpret_cast<uint32_t*>(image.bits()));
  }
  return image;
}

}  // namespace quill
