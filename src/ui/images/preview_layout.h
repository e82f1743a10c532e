// SPDX-License-Identifier: GPL-3.0-or-later
// Where the pictures of the preview strip stand: the large one in the middle of the view, its
// neighbours in the table small before and behind it, as many as fit. The strip runs down a tall
// view and across a wide one. Every picture is whole, and at least one neighbour stands on each
// side where the table has one. Pure; sizes in points of the view.
#pragma once

#include <QRectF>
#include <QSizeF>
#include <functional>
#include <vector>

namespace quill {

struct PreviewPlace {
  int row = 0;
  QRectF rect;
};

// Around each picture, for its frame and the gap to the next.
constexpr double kPreviewMargin = 20;

// The room of the large picture in a view of this size, with or without neighbours.
[[nodiscard]] QSizeF PreviewRoom(QSizeF view, bool neighbours);
// `size` scaled down into `room`, never up; a size without a width or height becomes a square.
[[nodiscard]] QSizeF FitPreview(QSizeF size, QSizeF room);
// The large picture first, then those before it, then those behind it. `sizeOf` gives the size in
// pixels of a row's picture; the rows are 0 to rowCount - 1. Empty for a row outside of them.
[[nodiscard]] std::vector<PreviewPlace> PlacePreviews(QSizeF view, int index, int rowCount,
                                                      const std::function<QSizeF(int)>& sizeOf);

}  // namespace quill
