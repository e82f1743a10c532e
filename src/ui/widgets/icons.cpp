// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/icons.h"

#include <QApplication>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>
#include <utility>

namespace quill {

namespace {

// Draws a one-coloured picture in the colour of the text around it, at any size and scale.
class CTextColouredIcon : public QIconEngine {
 public:
  explicit CTextColouredIcon(QByteArray svg) : m_svg(std::move(svg)) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    QByteArray svg = m_svg;
    const QPalette palette = QApplication::palette();
    const QColor colour = mode == QIcon::Disabled
                              ? palette.color(QPalette::Disabled, QPalette::ButtonText)
                          : mode == QIcon::Selected ? palette.color(QPalette::HighlightedText)
                                                    : palette.color(QPalette::ButtonText);
    svg.replace("#000", colour.name().toLatin1());
    QSvgRenderer renderer(svg);
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    renderer.render(painter, rect);
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(0, 0), size), mode, state);
    return pixmap;
  }
  [[nodiscard]] QIconEngine* clone() const override { return new CTextColouredIcon(m_svg); }

 private:
  const QByteArray m_svg;
};

}  // namespace

QIcon Icon(const QString& name) {
  if (QIcon::hasThemeIcon(name)) return QIcon::fromTheme(name);
  QFile file(":/icons/" + name + ".svg");
  if (!file.open(QIODevice::ReadOnly)) {
    qWarning("no icon %s", qPrintable(name));
    return {};
  }
  return QIcon(new CTextColouredIcon(file.readAll()));
}

}  // namespace quill
