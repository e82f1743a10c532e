// SPDX-License-Identifier: GPL-3.0-or-later
// The counters of a scan that are shown to the user. `scheduled` and `processed` count file
// requests only: all that were queued less those that no engine took and those that a stop has
// dropped, and those that an engine took. What a stop dropped since work last began to be pending
// is counted by itself; of a dropped folder nobody knows how many files it would have given. Atomic
// because workers change them and the main thread reads them with no lock for display.
#pragma once

#include <atomic>
#include <cstdint>

namespace quill {

struct CScanCounters {
  std::atomic<int32_t> processed{0};
  std::atomic<int32_t> scheduled{0};
  std::atomic<int32_t> droppedFiles{0};
  std::atomic<int32_t> droppedFolders{0};
};

}  // namespace quill
