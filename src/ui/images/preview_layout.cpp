#include "ui/images/preview_layout.h"

#include <algorithm>

namespace quill {

namespace {

constexpr double kMargin = 20;
constexpr double kSmallEdge = 100;

// Beside the middle, but never over the left margin.
double LeftOf(double viewWidth, double width) {
  return std::max((viewWidth - width) / 2, kMargin);
}

}  // namespace

double PreviewBestEdge(double viewWidth) {
  return std::max(viewWidth - 2 * kMargin, kSmallEdge);
}

QSizeF FitPreview(QSizeF size, double edge) {
  if (size.width() <= 0 || size.height() <= 0) return {edge, edge};
  const double scale = std::min(1.0, edge / std::max(size.width(), size.height()));
  return size * scale;
}

std::vector<PreviewPlace> PlacePreviews(QSizeF view, int index, int rowCount,
                                        const std::function<QSizeF(int)>& sizeOf) {
  std::vector<PreviewPlace> places;
  if (index < 0 || index >= rowCount) return places;
  const QSizeF best = FitPreview(sizeOf(index), PreviewBestEdge(view.width()));
  const QRectF base(
      QPointF(LeftOf(view.width(), best.width()), (view.height() - best.height()) / 2), best);
  places.push_back({index, base});
  // Upward, each at the bottom of the room that is left; a picture that would begin above the view
  // is shown as far as it ends in it.
  double bottom = base.top() - kMargin;
  for (int row = index - 1; row >= 0 && bottom >= 0; --row) {
    const QSizeF size = FitPreview(sizeOf(row), kSmallEdge);
    places.push_back(
        {row, QRectF(QPointF(LeftOf(view.width(), size.width()), bottom - size.height()), size)});
    bottom -= size.height() + kMargin;
  }
  double top = base.bottom() + kMargin;
  for (int row = index + 1; row < rowCount && top <= view.height(); ++row) {
    const QSizeF size = FitPreview(sizeOf(row), kSmallEdge);
    places.push_back({row, QRectF(QPointF(LeftOf(view.width(), size.width()), top), size)});
    top += size.height() + kMargin;
  }
  return places;
}

}  // namespace quill
