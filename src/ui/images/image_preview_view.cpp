// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/images/image_preview_view.h"

#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <iterator>

#include "results/image_dups_controller.h"
#include "ui/images/preview_layout.h"
#include "ui/widgets/color_blend.h"

namespace quill {

namespace {

constexpr size_t kLeastKept = 10;
constexpr double kOtherGroup = 0.25;  // opacity
constexpr double kFrame = 8;
constexpr double kCorner = 5;
constexpr double kBorder = 3;

}  // namespace

TDXImagePreviewView::TDXImagePreviewView(const CImageDupsController& controller, CMainQueue& queue,
                                         QWidget* parent)
    : QWidget(parent),
      m_controller(controller),
      m_loader(queue, [this](const CPreviewLoader::Loaded& loaded) { Take(loaded); }) {
  setAccessibleName(tr("Preview of the selected picture and its neighbours"));
}

void TDXImagePreviewView::SetIndex(int index) {
  if (index == m_index) return;
  m_index = m_centre = index;
  m_wheel = 0;
  update();
}

void TDXImagePreviewView::RowsChanged() {
  if (m_centre < 0 || m_centre >= static_cast<int>(m_controller.RowCount())) m_centre = m_index;
  update();
}

TDXImagePreviewView::Item& TDXImagePreviewView::ItemOf(int row) {
  return m_items[m_controller.TableAt(row)->File()->base->path];
}

QSizeF TDXImagePreviewView::SizeOf(int row) {
  const Item& item = ItemOf(row);
  if (!item.image.isNull()) return item.pixels;
  const ImageInfo& info = *m_controller.TableAt(row)->File()->base;
  return {static_cast<double>(info.width), static_cast<double>(info.height)};
}

void TDXImagePreviewView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().window());
  const auto rows = static_cast<int>(m_controller.RowCount());
  if (m_index < 0 || m_index >= rows) return;
  for (auto& [path, item] : m_items) item.used = false;
  const auto places =
      PlacePreviews(size(), m_centre, rows, [this](int row) { return SizeOf(row); });

  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
  const uint32_t group = m_controller.TableAt(m_index)->item->group;
  const QColor selected = palette().color(QPalette::Highlight);
  const QColor ground = palette().color(QPalette::Base);
  for (const PreviewPlace& place : places) {
    Item& item = ItemOf(place.row);
    item.used = true;
    const bool isBase = place.row == m_index;
    const bool isSame = m_controller.TableAt(place.row)->item->group == group;
    const QColor frame = isBase   ? selected
                         : isSame ? Blend(selected, ground, 0.7)
                                  : Blend(palette().color(QPalette::WindowText), ground, 0.8);
    painter.setPen(Qt::NoPen);
    painter.setBrush(frame);
    painter.drawRoundedRect(place.rect.adjusted(-kFrame, -kFrame, kFrame, kFrame), kCorner,
                            kCorner);
    painter.setPen(palette().color(QPalette::Mid));
    painter.setBrush(ground);
    painter.drawRect(place.rect.adjusted(-kBorder, -kBorder, kBorder, kBorder));
    painter.setOpacity(isSame ? 1 : kOtherGroup);
    if (!item.image.isNull()) painter.drawPixmap(place.rect, item.image, QRectF(item.image.rect()));
    painter.setOpacity(1);
  }
  if (m_items.size() > std::max(2 * places.size(), kLeastKept))
    std::erase_if(m_items, [](const auto& entry) { return !entry.second.used; });
  LoadNext();
}

void TDXImagePreviewView::wheelEvent(QWheelEvent* event) {
  event->accept();
  const int rows = static_cast<int>(m_controller.RowCount());
  if (m_index < 0 || m_index >= rows) return;
  const QPoint turned = event->angleDelta();
  m_wheel += turned.y() != 0 ? turned.y() : turned.x();
  const int steps = m_wheel / QWheelEvent::DefaultDeltasPerStep;
  m_wheel -= steps * QWheelEvent::DefaultDeltasPerStep;
  m_centre = std::clamp(m_centre - steps, 0, rows - 1);
  update();
}

void TDXImagePreviewView::LoadNext() {
  if (m_loader.IsBusy()) return;
  const QSizeF room = PreviewRoom(size(), m_controller.RowCount() > 1);
  const double points = std::max(room.width(), room.height());
  const int edge = std::max(1, static_cast<int>(points * devicePixelRatioF()));
  const auto waiting = std::find_if(m_items.begin(), m_items.end(), [edge](const auto& entry) {
    const Item& item = entry.second;
    // Loaded anew when the view has grown past what was loaded for it.
    const int most = std::max(item.pixels.width(), item.pixels.height());
    return item.used && (!item.loaded || item.edge < std::min(edge, most));
  });
  if (waiting == m_items.end()) return;
  waiting->second.edge = edge;
  m_loader.Load(waiting->first, edge);
}

void TDXImagePreviewView::Take(const CPreviewLoader::Loaded& loaded) {
  const auto entry = m_items.find(loaded.path);
  if (entry != m_items.end()) {
    entry->second.loaded = true;
    if (!loaded.image.isNull()) {
      entry->second.image = QPixmap::fromImage(loaded.image);
      entry->second.pixels = loaded.pixels;
      update();
    }
  }
  LoadNext();
}

}  // namespace quill
