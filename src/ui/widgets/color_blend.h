// SPDX-License-Identifier: GPL-3.0-or-later
// Mixtures of colours, for what the window draws itself. Pure functions.
#pragma once

#include <QColor>
#include <QPalette>

namespace quill {

// `fraction` of the way from one colour to the other, channel by channel.
[[nodiscard]] inline QColor Blend(const QColor& from, const QColor& to, double fraction) {
  const auto mix = [fraction](int a, int b) { return a + qRound((b - a) * fraction); };
  return {mix(from.red(), to.red()), mix(from.green(), to.green()), mix(from.blue(), to.blue())};
}

[[nodiscard]] inline bool IsDark(const QPalette& palette) {
  return palette.color(QPalette::Base).lightness() < palette.color(QPalette::Text).lightness();
}

}  // namespace quill
