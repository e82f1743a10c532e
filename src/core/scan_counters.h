// The two counters of a scan that are shown to the user. They count file requests only: `scheduled`
// all that were queued less those that no engine took, `processed` those that an engine took.
// Atomic because workers change them and the main thread reads them with no lock for display.
#pragma once

#include <atomic>
#include <cstdint>

namespace quill {

struct CScanCounters {
  std::atomic<int32_t> processed{0};
  std::atomic<int32_t> scheduled{0};
};

}  // namespace quill
