// SPDX-License-Identifier: GPL-3.0-or-later
// Colours that read well on any palette. The program's own colours are told for a light one; on
// others they are moved towards white or black as far as needed. Pure functions of colours.
#pragma once

#include <QColor>

namespace quill {

// Text of marked files and of bad values.
inline const QColor kRedText = QColor::fromRgbF(0.7F, 0.0F, 0.0F);

// 4.5 to 1 is what text needs.
constexpr double kReadableContrast = 4.5;

// Ratio of the relative luminances, from 1 to 21; the order does not matter.
[[nodiscard]] double Contrast(const QColor& a, const QColor& b);
// The colour itself where it reads on `background`, else moved as far as needed: away from the
// background's own brightness, or the other way where only that gives enough contrast.
[[nodiscard]] QColor ReadableOn(const QColor& background, const QColor& color);
// Whether a palette with this background is a dark one.
[[nodiscard]] bool IsDark(const QColor& background);
// The background a step nearer to its text: darker on a light palette, lighter on a dark one.
[[nodiscard]] QColor Shade(const QColor& background, double level);

}  // namespace quill
