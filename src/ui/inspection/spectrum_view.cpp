// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/spectrum_view.h"

#include <QPainter>

#include "core/configuration.h"

namespace quill {

namespace {

constexpr int kMessagePixels = 17;

// 3:07, or 0.250 below a second.
QString BuildingTime(uint32_t milliseconds) {
  return milliseconds < 1000
             ? QString::asprintf("%u.%03u", milliseconds / 1000, milliseconds % 1000)
             : QString::asprintf("%u:%02u", milliseconds / 60000, milliseconds / 1000 % 60);
}

}  // namespace

CSpectrumView::CSpectrumView(const SpectrumSettings& settings, CMainQueue& queue, QWidget* parent)
    : QWidget(parent),
      m_settings(settings),
      m_queue(queue),
      m_self(std::make_shared<CSpectrumView*>(this)),
      m_yAxisLogarithmic(
          CConfiguration::Instance().GetBool(settings.yAxis, settings.yAxisDefault)) {}

void CSpectrumView::Connect(CSpectrumBuilder& builder) {
  m_builder = &builder;
  const std::weak_ptr<CSpectrumView*> weak = m_self;
  builder.m_callback = [&queue = m_queue, weak] {
    queue.Post([weak] {
      if (const auto self = weak.lock()) (*self)->Progress();
    });
  };
}

const QList<int>& SpectrumSizes() {
  static const QList<int> kSizes{32,   64,   128,  256,   512,   1024,
                                 2048, 4096, 8192, 16384, 32768, 65536};
  return kSizes;
}

const QList<int>& SpectrumOverlaps() {
  static const QList<int> kOverlaps{0, 10, 20, 30, 40, 50, 60, 70, 80, 90};
  return kOverlaps;
}

void CSpectrumView::SetPath(const std::string& path) {
  m_path = path;
  const auto choice = [](const char* key, int fallback, const QList<int>& choices) {
    const int stored = CConfiguration::Instance().GetInteger(key, fallback);
    return choices.contains(stored) ? stored : fallback;
  };
  Build(choice(m_settings.size, m_settings.sizeDefault, SpectrumSizes()),
        choice(m_settings.overlap, m_settings.overlapDefault, SpectrumOverlaps()));
}

void CSpectrumView::Build(int size, int overlap) {
  (void)m_builder->Build(m_path, static_cast<uint64_t>(size), static_cast<uint64_t>(overlap));
  Progress();
}

void CSpectrumView::SetLogarithmic(bool logarithmic) {
  m_yAxisLogarithmic = logarithmic;
  CConfiguration::Instance().SetBool(m_settings.yAxis, logarithmic);
  ScaleChanged();
  update();
}

QString CSpectrumView::RunText() const {
  switch (m_builder->GetState()) {
    case CSpectrumBuilder::kFinished:
      return {};
    case CSpectrumBuilder::kNoResult:
      return QStringLiteral("Error, open failed");
    default:
      return "Building... (" + BuildingTime(m_builder->Progress()) + ")";
  }
}

QImage CSpectrumView::Picture() {
  return grab(DrawnRect()).toImage();
}

void CSpectrumView::Progress() {
  if (m_builder->GetState() == CSpectrumBuilder::kFinished) ResultsChanged();
  update();
  emit Changed();
}

void CSpectrumView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().base());
  if (HasResults()) return DrawResults(painter);
  // Results that are on their way to the screen need no message.
  QFont font = painter.font();
  font.setPixelSize(kMessagePixels);
  painter.setFont(font);
  painter.setPen(palette().color(QPalette::Text));
  painter.drawText(rect(), Qt::AlignCenter, RunText());
}

}  // namespace quill
