// SPDX-License-Identifier: GPL-3.0-or-later
// Where the engine of one worker puts what it has measured. Any thread; implemented by the model of
// the analysis table.
#pragma once

#include "audio/analysis_info.h"
#include "core/reference.h"

namespace quill {

class CAnalysisSink {
 public:
  virtual ~CAnalysisSink() = default;
  // Must not block: one short append under a lock. False after a report.
  virtual bool LockedAdd(const CRef<const AnalysisInfo>& info) = 0;
};

}  // namespace quill
