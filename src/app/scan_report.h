// SPDX-License-Identifier: GPL-3.0-or-later
// How a scan went as one table sees it, so that an empty table can say why it is empty.
#pragma once

#include <cstdint>

namespace quill {

enum class ScanState {
  kNone,      // no scan of the table's kind in this run of the program
  kRunning,   // or paused
  kStopping,  // by the user; the files in hand run to their end
  kStopped,
  kDone,
  kOpened  // no scan: the rows came from a results file
};

struct ScanReport {
  ScanState state = ScanState::kNone;
  uint32_t files = 0;  // of the table's kind that the scan has taken, once it has ended
  bool found = false;  // there were rows at the end
};

}  // namespace quill
