// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/status_view.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QEvent>
#include <QHelpEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>
#include <array>
#include <cmath>

#include "ui/widgets/color_blend.h"

namespace quill {
namespace {

constexpr int kIndent = 8;
constexpr int kCountWidth = 100;  // of the fields of counters, at least
constexpr int kGaugeWidth = 200;
constexpr int kLineHeight = 8;  // above and below the text, together

// For those who have the window read out: name and content of the bar.
class CStatusAccessible : public QAccessibleWidget {
 public:
  explicit CStatusAccessible(TDXStatusView* view)
      : QAccessibleWidget(view, QAccessible::ProgressBar), m_view(view) {}

  [[nodiscard]] QString text(QAccessible::Text kind) const override {
    if (kind != QAccessible::Value) return QAccessibleWidget::text(kind);
    QStringList texts = m_view->Texts();
    texts.removeAll({});
    return texts.join(", ");
  }

 private:
  TDXStatusView* m_view;
};

QAccessibleInterface* MakeAccessible(const QString&, QObject* object) {
  auto* const view = qobject_cast<TDXStatusView*>(object);
  return view != nullptr ? new CStatusAccessible(view) : nullptr;
}

}  // namespace

TDXStatusView::TDXStatusView(QWidget* parent) : QWidget(parent) {
  static const bool installed = (QAccessible::installFactory(MakeAccessible), true);
  (void)installed;
  setAttribute(Qt::WA_OpaquePaintEvent);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  setAccessibleName(tr("Scan progress"));
  WidenFields();
}

void TDXStatusView::SetProgress(const ProgressDisplay& progress) {
  m_progress = progress;
  m_progress.progress = std::clamp(progress.progress, 0.0F, 1.0F);
  WidenFields();
  update();
}

void TDXStatusView::SetSummary(const QString& text) {
  m_summary = text;
  update();
}

QStringList TDXStatusView::Texts() const {
  const QString text =
      m_progress.text.empty() ? m_summary : QString::fromStdString(m_progress.text);
  return {text, tr("Cache: %1").arg(m_progress.cacheCount),
          m_progress.stopped.empty()
              ? tr("New: %1/%2").arg(m_progress.processed).arg(m_progress.scheduled)
              : QString::fromStdString(m_progress.stopped),
          QString::asprintf("%.1f%%", static_cast<double>(m_progress.progress) * 100)};
}

QSize TDXStatusView::sizeHint() const {
  return {4 * kGaugeWidth, fontMetrics().height() + kLineHeight};
}

QSize TDXStatusView::minimumSizeHint() const {
  return {m_cacheWidth + m_countsWidth + m_gaugeWidth, sizeHint().height()};
}

void TDXStatusView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QColor window = palette().color(QPalette::Window);
  const QColor ink = palette().color(QPalette::WindowText);
  QLinearGradient background(0, 0, 0, height());
  background.setColorAt(0, Blend(window, ink, 0.02));
  background.setColorAt(1, Blend(window, ink, 0.10));
  painter.fillRect(rect(), background);

  const Fields fields = Layout();
  painter.setPen(Blend(window, ink, 0.5));
  painter.drawLine(0, 0, width(), 0);
  for (const QRect& field : {fields.cache, fields.counts, fields.gauge})
    painter.drawLine(field.left(), 0, field.left(), height());

  painter.setPen(ink);
  const QStringList texts = Texts();
  const std::array<QRect, 3> places = {fields.text, fields.cache, fields.counts};
  for (size_t i = 0; i < places.size(); ++i) {
    const QRect place = places[i].adjusted(kIndent, 1, -kIndent / 2, 0);
    const QString shown =
        fontMetrics().elidedText(texts[static_cast<qsizetype>(i)], Qt::ElideRight, place.width());
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
  }
  DrawGauge(painter, fields.gauge);
}

void TDXStatusView::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
    m_cacheWidth = m_countsWidth = m_gaugeWidth = 0;
    WidenFields();
  }
  QWidget::changeEvent(event);
}

bool TDXStatusView::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* const help = static_cast<QHelpEvent*>(event);
  const Fields fields = Layout();
  QString tip;
  if (fields.text.contains(help->pos())) tip = Texts().first();
  if (fields.cache.contains(help->pos())) tip = tr("Files known from this scan and earlier ones");
  if (fields.counts.contains(help->pos())) tip = tr("Files done, of the files found so far");
  QToolTip::showText(help->globalPos(), tip, this);
  return true;
}

TDXStatusView::Fields TDXStatusView::Layout() const {
  const int gauge = width() - m_gaugeWidth;
  const int counts = gauge - m_countsWidth;
  const int cache = counts - m_cacheWidth;
  return {.text = {0, 0, cache, height()},
          .cache = {cache, 0, m_cacheWidth, height()},
          .counts = {counts, 0, m_countsWidth, height()},
          .gauge = {gauge, 0, m_gaugeWidth, height()}};
}

void TDXStatusView::WidenFields() {
  const QFontMetrics metrics = fontMetrics();
  // A digit may be wider than another: each takes the room of the widest.
  int digit = 0;
  for (char c = '0'; c <= '9'; ++c)
    digit = std::max(digit, metrics.horizontalAdvance(QLatin1Char(c)));
  const auto room = [&](const QString& text) {
    int taken = 2 * kIndent;
    for (const QChar c : text) taken += c.isDigit() ? digit : metrics.horizontalAdvance(c);
    return taken;
  };
  const QStringList texts = Texts();
  const std::array<int, 3> before = {m_cacheWidth, m_countsWidth, m_gaugeWidth};
  m_cacheWidth = std::max({m_cacheWidth, kCountWidth, room(texts[1])});
  m_countsWidth = std::max({m_countsWidth, kCountWidth, room(texts[2])});
  m_gaugeWidth = std::max({m_gaugeWidth, kGaugeWidth, room("100.0%") + 4 * kIndent});
  if (before != std::array{m_cacheWidth, m_countsWidth, m_gaugeWidth}) updateGeometry();
}

void TDXStatusView::DrawGauge(QPainter& painter, const QRect& field) const {
  const QColor base = palette().color(QPalette::Base);
  const QColor ink = palette().color(QPalette::Text);
  // The percentage is read on the bar: on a dark palette a full green would outshine it.
  const QColor green = IsDark(palette()) ? QColor(0, 128, 0) : QColor(0, 255, 0);
  painter.setRenderHint(QPainter::Antialiasing);

  const QRectF gauge = QRectF(field).adjusted(3.5, 2.5 + 1, -3.5, -2.5);
  painter.setPen(Blend(base, ink, 0.5));
  painter.setBrush(base);
  painter.drawRoundedRect(gauge, 3, 3);

  QRectF bar = gauge.adjusted(2, 2, -2, -2);
  const double progress = static_cast<double>(m_progress.progress);
  bar.setWidth(bar.width() * progress);
  if (bar.width() > 0) {
    const QColor colour = Blend(base, green, progress);
    QLinearGradient gradient(bar.bottomLeft(), bar.topLeft());
    gradient.setColorAt(0, colour);
    gradient.setColorAt(1, Blend(colour, base, 0.75));
    painter.fillRect(bar, gradient);
  }

  const QString text = Texts().last();
  QPainterPath outline;
  const QFontMetricsF metrics(font());
  outline.addText(std::floor(gauge.center().x() - metrics.horizontalAdvance(text) / 2),
                  std::floor(gauge.center().y() + (metrics.ascent() - metrics.descent()) / 2),
                  font(), text);
  QColor shadow = base;
  shadow.setAlpha(150);
  painter.strokePath(outline, QPen(shadow, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setPen(ink);
  painter.drawText(gauge, Qt::AlignCenter, text);
}

}  // namespace quill
