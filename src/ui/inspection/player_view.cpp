// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/player_view.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "ui/widgets/color_blend.h"

namespace quill {

namespace {

constexpr uint32_t kLastSlice = CLevelEnvelope::kSlices - 1;
constexpr int kTwoPanels = 100;  // height above which both channels are shown

QString Time(uint32_t milliseconds) {
  const uint32_t seconds = milliseconds / 1000;
  return QString("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar('0'));
}

}  // namespace

TDXPlayerView::TDXPlayerView(CAudioOutput& output, CMainQueue& queue, QWidget* parent)
    : QWidget(parent), m_self(std::make_shared<TDXPlayerView*>(this)), m_player(output) {
  const std::weak_ptr<TDXPlayerView*> weak = m_self;
  m_player.m_callback = [&queue, weak] {
    queue.Post([weak] {
      if (const auto self = weak.lock()) (*self)->Invalidate();
    });
  };
  setCursor(Qt::PointingHandCursor);
  setAccessibleName(tr("Level of the file over its length; a click plays from there"));
}

TDXPlayerView::~TDXPlayerView() {
  m_player.Reset();
}

void TDXPlayerView::SetPath(const std::string& path) {
  m_player.OpenFile(path);
  m_lastIdx = 0;
  m_lastPos = 0;
  update();
  emit Changed();
}

void TDXPlayerView::Clear() {
  m_player.Reset();
  m_lastIdx = 0;
  m_lastPos = 0;
  update();
  emit Changed();
}

void TDXPlayerView::PlayPause() {
  if (m_player.GetState() == CAudioPlayer::kPlaying)
    m_player.PausePlaying();
  else
    m_player.StartPlaying();
}

void TDXPlayerView::SeekBy(int seconds) {
  const int64_t target = int64_t{m_player.Position()} + int64_t{seconds} * 1000;
  m_player.SeekTo(static_cast<uint32_t>(std::clamp<int64_t>(target, 0, m_player.Duration())));
}

QString TDXPlayerView::TimeText() const {
  return Time(m_player.Position()) + " / " + Time(m_player.Duration());
}

void TDXPlayerView::Invalidate() {
  const uint32_t used = m_player.Envelope().Used();
  if (used != 0) UpdateStrip(std::exchange(m_lastIdx, used - 1), used - 1);
  const uint64_t duration = m_player.Duration();
  if (duration != 0) {
    const auto slice = static_cast<uint32_t>(uint64_t{m_player.Position()} * kLastSlice / duration);
    UpdateStrip(std::exchange(m_lastPos, slice), slice);
  }
  emit Changed();
}

void TDXPlayerView::UpdateStrip(uint32_t a, uint32_t b) {
  const auto place = [this](uint32_t slice) {
    return static_cast<double>(slice) * width() / kLastSlice;
  };
  const int left = static_cast<int>(std::floor(place(std::min(a, b))));
  const int right = static_cast<int>(std::ceil(place(std::max(a, b))));
  // A pixel more on each side for the lines' own width.
  update(left - 1, 0, right - left + 3, height());
}

void TDXPlayerView::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  const QRect dirty = event->rect();
  painter.fillRect(dirty, palette().base());
  const auto slice = [this](int x) {
    return std::clamp<int64_t>(int64_t{x} * kLastSlice / std::max(1, width()), 0, kLastSlice);
  };
  const uint32_t used = m_player.Envelope().Used();
  const int64_t decoded = used == 0 ? 0 : used - 1;
  const auto start =
      static_cast<size_t>(std::min(std::max<int64_t>(slice(dirty.left()) - 1, 0), decoded));
  const auto end = static_cast<size_t>(std::min(slice(dirty.right() + 1) + 1, decoded));
  const double w = width(), h = height();
  const QColor blue = QColor::fromRgbF(0.6F, 0.6F, 1.0F),
               paleBlue = QColor::fromRgbF(0.7F, 0.8F, 1.0F);
  if (m_player.IsStereo() && height() > kTwoPanels) {
    const QColor red = QColor::fromRgbF(1.0F, 0.6F, 0.6F),
                 paleRed = QColor::fromRgbF(1.0F, 0.8F, 0.7F);
    PaintPanel(painter, {0, QRectF(0, 3, w, h / 2 - 6), blue, paleBlue}, start, end);
    PaintPanel(painter, {1, QRectF(0, h / 2 + 3, w, h / 2 - 6), red, paleRed}, start, end);
  } else {
    PaintPanel(painter, {0, QRectF(0, 3, w, h - 6), blue, paleBlue}, start, end);
  }
}

void TDXPlayerView::PaintPanel(QPainter& painter, const Panel& panel, size_t start,
                               size_t end) const {
  if (end <= start) return;
  // Grey for what has not been played yet, as strong on a dark ground as on a light one.
  const bool dark = IsDark(palette());
  const QColor stroke =
      QColor::fromRgbF(dark ? 0.4F : 0.8F, dark ? 0.4F : 0.8F, dark ? 0.4F : 0.8F);
  const QColor fill =
      QColor::fromRgbF(dark ? 0.25F : 0.93F, dark ? 0.25F : 0.93F, dark ? 0.25F : 0.93F);
  const size_t position = m_lastPos;
  if (position > start)
    PaintGraph(painter, panel, start, std::min(position, end), panel.stroke, panel.fill);
  if (position < end) PaintGraph(painter, panel, std::max(position, start), end, stroke, fill);
  const auto x = [&](size_t i) {
    return std::floor(static_cast<double>(i) * panel.rect.width() / kLastSlice);
  };
  painter.setPen(QPen(stroke, 1));
  painter.drawLine(QPointF(x(start), panel.rect.center().y()),
                   QPointF(x(end), panel.rect.center().y()));
}

void TDXPlayerView::PaintGraph(QPainter& painter, const Panel& panel, size_t start, size_t end,
                               const QColor& stroke, const QColor& fill) const {
  const double middle = panel.rect.center().y();
  const auto point = [&](size_t i, float level) {
    // Upward is positive.
    return QPointF(
        std::floor(static_cast<double>(i) * panel.rect.width() / kLastSlice),
        middle - static_cast<double>(std::clamp(level, -1.0F, 1.0F)) * panel.rect.height() / 2);
  };
  QPolygonF most, least;
  for (size_t i = start; i <= end; ++i) {
    const StatItem& item = m_player.Envelope().Slice(panel.channel, i);
    most.append(point(i, item.maximum.load(std::memory_order_relaxed)));
    least.append(point(i, item.minimum.load(std::memory_order_relaxed)));
  }
  painter.setPen(Qt::NoPen);
  painter.setBrush(fill);
  for (const QPolygonF& line : {most, least}) {
    QPolygonF area = line;
    area.append(QPointF(line.last().x(), middle));
    area.append(QPointF(line.first().x(), middle));
    painter.drawPolygon(area);
  }
  painter.setPen(QPen(stroke, 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawPolyline(most);
  painter.drawPolyline(least);
}

void TDXPlayerView::mousePressEvent(QMouseEvent* event) {
  const double duration = m_player.Duration();
  // Half a pixel on: the middle of the one that was clicked.
  const double target = duration / (2.0 * width()) + event->position().x() * duration / width();
  m_player.SeekTo(static_cast<uint32_t>(std::max(0.0, target)));
}

}  // namespace quill
