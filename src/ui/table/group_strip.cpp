// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/group_strip.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPolygonF>

#include "ui/widgets/readable_color.h"

namespace quill {

namespace {

constexpr int kDigitHeight = 10;  // pixels, like the strip's width

}  // namespace

QString GroupDigits(uint32_t number) {
  const QString digits = QString::number(number);
  return digits.size() > 3 ? QLatin1Char('*') + digits.right(2) : digits;
}

void DrawGroupStrip(QPainter& painter, const QRect& strip, uint32_t number, const QColor& ground) {
  QColor clear = IsDark(ground) ? ground : QColor(Qt::white);
  clear.setAlpha(0);
  QLinearGradient gradient(strip.left(), 0, strip.left() + strip.width(), 0);
  gradient.setColorAt(0, Shade(ground, 0.4));
  gradient.setColorAt(1, clear);
  painter.fillRect(strip, gradient);

  painter.save();
  QFont font = painter.font();
  font.setBold(false);
  font.setPixelSize(kDigitHeight);
  painter.setFont(font);
  painter.setPen(Shade(ground, 0.7));
  const QString digits = GroupDigits(number);
  int top = strip.top() + strip.height() / 2 - kDigitHeight / 2 * static_cast<int>(digits.size());
  for (const QChar digit : digits) {
    painter.drawText(QRect(strip.left(), top, strip.width(), kDigitHeight),
                     Qt::AlignCenter | Qt::TextDontClip, QString(digit));
    top += kDigitHeight;
  }
  painter.restore();
}

void DrawDisclosure(QPainter& painter, const QRect& place, bool open, const QColor& color) {
  const QRectF box(place);
  const double w = box.width(), h = box.height();
  QPolygonF triangle;
  if (open) {
    triangle << box.topLeft() + QPointF(0, h * 0.2) << box.topRight() + QPointF(0, h * 0.2)
             << QPointF(box.center().x(), box.bottom() - h * 0.1);
  } else {
    triangle << box.topLeft() + QPointF(w * 0.2, 0) << box.bottomLeft() + QPointF(w * 0.2, 0)
             << QPointF(box.right() - w * 0.1, box.center().y());
  }
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawPolygon(triangle);
  painter.restore();
}

}  // namespace quill
