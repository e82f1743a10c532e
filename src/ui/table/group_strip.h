// SPDX-License-Identifier: GPL-3.0-or-later
// What marks the groups of a table at its left edge: the strip with the group's number, and the
// triangles of rows that show or hide others. Main thread.
#pragma once

#include <QColor>
#include <QRect>
#include <QString>
#include <cstdint>

class QPainter;

namespace quill {

constexpr int kStripWidth = 12;  // pixels

// The characters of a group number, to be drawn one below the other: "12"; from 1000 on a star and
// the last two digits.
[[nodiscard]] QString GroupDigits(uint32_t number);

// `strip` covers all rows of the group, also those out of sight; `ground` is what lies behind.
void DrawGroupStrip(QPainter& painter, const QRect& strip, uint32_t number, const QColor& ground);
// Points down when `open`, else to the right.
void DrawDisclosure(QPainter& painter, const QRect& place, bool open, const QColor& color);

}  // namespace quill
