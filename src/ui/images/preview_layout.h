// Where the pictures of the preview strip stand: the selected row large and centred, the rows above
// and below it small, as far as they fit. Pure; sizes in points of the view.
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

// The largest edge of the selected picture in a view of this width.
[[nodiscard]] double PreviewBestEdge(double viewWidth);
// `size` scaled down to `edge`, never up; a size without a width or height becomes a square of
// `edge`.
[[nodiscard]] QSizeF FitPreview(QSizeF size, double edge);
// The selected row first, then upward, then downward. `sizeOf` gives the size in pixels of a row's
// picture; the rows are 0 to rowCount - 1. Empty for a row outside of them.
[[nodiscard]] std::vector<PreviewPlace> PlacePreviews(QSizeF view, int index, int rowCount,
                                                      const std::function<QSizeF(int)>& sizeOf);

}  // namespace quill
