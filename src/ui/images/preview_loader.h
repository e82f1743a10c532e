// SPDX-License-Identifier: GPL-3.0-or-later
// Loads pictures for the preview, one at a time, on a thread of its own: what Qt can read is read
// by Qt, upright as its metadata says; everything else comes from a decoder process over a link of
// the loader's own. Asked and answered on the main thread.
#pragma once

#include <QImage>
#include <QSize>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "core/main_queue.h"
#include "core/sync.h"

namespace quill {

class CPreviewLoader {
 public:
  struct Loaded {
    std::string path;
    QImage image;  // null when it cannot be read
    QSize pixels;  // of the whole picture
  };

  // `queue` must outlive the loader. `loaded` runs on the main thread, once for each Load.
  CPreviewLoader(CMainQueue& queue, std::function<void(const Loaded&)> loaded);
  // Waits for the picture in hand.
  ~CPreviewLoader();
  CPreviewLoader(const CPreviewLoader&) = delete;
  CPreviewLoader& operator=(const CPreviewLoader&) = delete;

  [[nodiscard]] bool IsBusy() const { return m_busy; }
  // Not while busy. The picture comes back no larger than `edge` pixels on its longer side.
  void Load(const std::string& path, int edge) EXCLUDES(m_sync);

 private:
  struct Work {
    std::string path;
    int edge;
  };
  void ThreadBody() EXCLUDES(m_sync);

  CMainQueue& m_queue;
  const std::function<void(const Loaded&)> m_loaded;
  // Blocks on the main queue hold it weakly: an answer that comes after the loader does nothing.
  std::shared_ptr<CPreviewLoader*> m_self;
  bool m_busy = false;  // main thread only

  CSync m_sync;
  CCondition m_changed;
  std::optional<Work> m_work GUARDED_BY(m_sync);
  bool m_ending GUARDED_BY(m_sync) = false;
  std::thread m_thread;
};

}  // namespace quill
