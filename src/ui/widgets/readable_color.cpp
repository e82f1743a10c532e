// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/readable_color.h"

#include <algorithm>
#include <cmath>

#include "ui/widgets/color_blend.h"

namespace quill {

namespace {

// Relative luminance of sRGB by the guidelines for accessible web content.
double Luminance(const QColor& color) {
  const auto linear = [](double c) {
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
         0.0722 * linear(color.blueF());
}

}  // namespace

double Contrast(const QColor& a, const QColor& b) {
  const double x = Luminance(a), y = Luminance(b);
  return (std::max(x, y) + 0.05) / (std::min(x, y) + 0.05);
}

QColor ReadableOn(const QColor& background, const QColor& color) {
  if (Contrast(color, background) >= kReadableContrast) return color;
  QColor away = Qt::white, other = Qt::black;
  if (!IsDark(background)) std::swap(away, other);
  // One of the two ends always has a contrast of at least 4.58.
  const QColor target = Contrast(away, background) >= kReadableContrast ? away : other;
  constexpr int kSteps = 32;
  for (int step = 1; step < kSteps; ++step) {
    const QColor moved = Blend(color, target, double(step) / kSteps);
    if (Contrast(moved, background) >= kReadableContrast) return moved;
  }
  return target;
}

bool IsDark(const QColor& background) {
  return Contrast(background, Qt::white) > Contrast(background, Qt::black);
}

QColor Shade(const QColor& background, double level) {
  return Blend(background, IsDark(background) ? Qt::white : Qt::black, level);
}

}  // namespace quill
