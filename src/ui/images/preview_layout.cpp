// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/images/preview_layout.h"

#include <algorithm>

namespace quill {

namespace {

constexpr double kSmallEdge = 100;
constexpr double kLeastEdge = 1;  // of what a view too small for anything shows
constexpr double kEdge = 10;      // a frame and a little, to the border of the view

// The view as the strip sees it: its length goes along the strip.
QSizeF Along(QSizeF view) {
  return view.width() > view.height() ? view.transposed() : view;
}

// Of the neighbours: a quarter of what the margins leave at most, so that the large picture stays
// at least twice as large.
double SmallEdge(QSizeF strip) {
  const double most =
      std::min(strip.width() - 2 * kPreviewMargin, (strip.height() - 4 * kPreviewMargin) / 4);
  return std::clamp(most, kLeastEdge, kSmallEdge);
}

}  // namespace

QSizeF PreviewRoom(QSizeF view, bool neighbours) {
  const QSizeF strip = Along(view);
  QSizeF room = strip - QSizeF(2 * kPreviewMargin, 2 * kPreviewMargin);
  if (neighbours) room.rheight() -= 2 * (SmallEdge(strip) + kPreviewMargin);
  room = room.expandedTo({kLeastEdge, kLeastEdge});
  return view.width() > view.height() ? room.transposed() : room;
}

QSizeF FitPreview(QSizeF size, QSizeF room) {
  if (size.width() <= 0 || size.height() <= 0) {
    const double edge = std::min(room.width(), room.height());
    return {edge, edge};
  }
  const double scale = std::min({1.0, room.width() / size.width(), room.height() / size.height()});
  // A line of a picture stays a line.
  return (size * scale).expandedTo({kLeastEdge, kLeastEdge});
}

std::vector<PreviewPlace> PlacePreviews(QSizeF view, int index, int rowCount,
                                        const std::function<QSizeF(int)>& sizeOf) {
  std::vector<PreviewPlace> places;
  if (index < 0 || index >= rowCount) return places;
  const bool wide = view.width() > view.height();
  const QSizeF strip = Along(view);
  const double length = strip.height();
  // By where it begins along the strip.
  const auto place = [&](int row, double start, QSizeF size) {
    const QPointF corner = wide ? QPointF(start, (view.height() - size.height()) / 2)
                                : QPointF((view.width() - size.width()) / 2, start);
    places.push_back({row, QRectF(corner, size)});
  };
  const auto lengthOf = [wide](QSizeF size) { return wide ? size.width() : size.height(); };

  const QSizeF best = FitPreview(sizeOf(index), PreviewRoom(view, rowCount > 1));
  const double start = (length - lengthOf(best)) / 2;
  place(index, start, best);
  const QSizeF small(SmallEdge(strip), SmallEdge(strip));
  double end = start - kPreviewMargin;
  for (int row = index - 1; row >= 0; --row) {
    const QSizeF size = FitPreview(sizeOf(row), small);
    const double from = end - lengthOf(size);
    if (from < kEdge) break;
    place(row, from, size);
    end = from - kPreviewMargin;
  }
  double from = start + lengthOf(best) + kPreviewMargin;
  for (int row = index + 1; row < rowCount; ++row) {
    const QSizeF size = FitPreview(sizeOf(row), small);
    if (from + lengthOf(size) > length - kEdge) break;
    place(row, from, size);
    from += lengthOf(size) + kPreviewMargin;
  }
  return places;
}

}  // namespace quill
