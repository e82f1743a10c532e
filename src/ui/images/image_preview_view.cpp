#include "ui/images/image_preview_view.h"

#include <QPainter>
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
  m_index = index;
  update();
}

void TDXImagePreviewView::RowsChanged() {
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
  const auto places = PlacePreviews(size(), m_index, rows, [this](int row) { return SizeOf(row); });

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

void TDXImagePreviewView::LoadNext() {
  if (m_loader.IsBusy()) return;
  const auto waiting = std::find_if(m_items.begin(), m_items.end(), [](const auto& entry) {
    return entry.second.used && !entry.second.loaded;
  });
  if (waiting == m_items.end()) return;
  m_loader.Load(waiting->first, static_cast<int>(PreviewBestEdge(width()) * devicePixelRatioF()));
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
