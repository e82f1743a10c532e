// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/images/preview_loader.h"

#include <QImageReader>
#include <algorithm>
#include <memory>
#include <utility>

#include "decoding/decoder_table.h"
#include "decoding/process_link.h"
#include "platform/decoded_picture.h"
#include "ui/images/preview_layout.h"
#include "ui/widgets/path_text.h"

namespace quill {

namespace {

// A picture of more is not read by Qt in this process; the decoder has limits of its own.
constexpr int kMostMegabytes = 1024;

QSize Fitting(QSize pixels, int edge) {
  const QSizeF fitted = FitPreview(pixels, QSizeF(edge, edge));
  return {std::max(1, qRound(fitted.width())), std::max(1, qRound(fitted.height()))};
}

bool ReadByQt(const std::string& path, int edge, CPreviewLoader::Loaded* loaded) {
  // By the content: a name may lie. Names that are no text are left to the decoder.
  const QString name = ShownPath(path);
  if (PathBytes(name) != path) return false;
  QImageReader reader(name);
  reader.setDecideFormatFromContent(true);
  reader.setAutoTransform(true);
  QImageReader::setAllocationLimit(kMostMegabytes);
  const QSize pixels = reader.size();
  if (pixels.isValid()) reader.setScaledSize(Fitting(pixels, edge));
  QImage image = reader.read();
  if (image.isNull()) return false;
  const bool turned = reader.transformation() & QImageIOHandler::TransformationRotate90;
  loaded->pixels = !pixels.isValid() ? image.size() : turned ? pixels.transposed() : pixels;
  loaded->image = std::move(image);
  return true;
}

}  // namespace

CPreviewLoader::CPreviewLoader(CMainQueue& queue, std::function<void(const Loaded&)> loaded)
    : m_queue(queue),
      m_loaded(std::move(loaded)),
      m_self(std::make_shared<CPreviewLoader*>(this)),
      m_thread([this] { ThreadBody(); }) {}

CPreviewLoader::~CPreviewLoader() {
  {
    CSyncLock lock(m_sync);
    m_ending = true;
  }
  m_changed.Signal();
  m_thread.join();
}

void CPreviewLoader::Load(const std::string& path, int edge) {
  m_busy = true;
  {
    CSyncLock lock(m_sync);
    m_work = Work{path, edge};
  }
  m_changed.Signal();
}

void CPreviewLoader::ThreadBody() {
  CProcessLink link(CDecoderTable::Instance());
  const std::weak_ptr<CPreviewLoader*> weak = m_self;
  while (true) {
    Work work;
    {
      CSyncLock lock(m_sync);
      while (!m_work && !m_ending) m_changed.Wait(m_sync);
      if (m_ending) return;
      work = *std::exchange(m_work, std::nullopt);
    }
    auto loaded = std::make_shared<Loaded>();
    loaded->path = work.path;
    if (!ReadByQt(work.path, work.edge, loaded.get())) {
      DecodedPicture decoded = DecodePicture(link, work.path, work.edge);
      loaded->image = std::move(decoded.image);
      loaded->pixels = decoded.pixels;
    }
    m_queue.Post([weak, loaded] {
      const auto self = weak.lock();
      if (!self) return;
      (*self)->m_busy = false;
      (*self)->m_loaded(*loaded);
    });
  }
}

}  // namespace quill
