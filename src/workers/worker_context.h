// SPDX-License-Identifier: GPL-3.0-or-later
// What one worker thread needs for its whole life: its engines, and the walk through one folder.
// Lives on the thread's stack and is used by that thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "workers/workers.h"

namespace quill {

class CWorkerContext {
 public:
  // The pool must outlive the context.
  CWorkerContext(CWorkers& pool, std::unique_ptr<CFileEngines> engines);

  // Queues one request per entry of the folder, in directory order. Dot files and hidden folders
  // are entries like all others; links and special files are skipped. False, with nothing queued,
  // when the folder cannot be opened.
  bool EnumerateFolder(const std::string& path, uint8_t group, uint8_t carriedFlag, bool analysis);
  // True when the file is finished and counts.
  [[nodiscard]] bool ProcessFile(const std::string& path, uint8_t group, bool analysis);

 private:
  CWorkers& m_pool;
  const std::unique_ptr<CFileEngines> m_engines;
};

}  // namespace quill
