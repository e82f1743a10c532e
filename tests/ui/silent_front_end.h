// SPDX-License-Identifier: GPL-3.0-or-later
// A front end with nobody in front of it, for views that need an application controller.
#pragma once

#include "app/front_end.h"

namespace quill::test {

class CSilentFrontEnd : public CFrontEnd {
 public:
  [[nodiscard]] bool HasSelection() const override { return false; }
  [[nodiscard]] std::vector<TDXSelectedFolder> UnloadList() override { return {}; }
  void SetTimer(bool) override {}
  void ShowThreads(ScanButton) override {}
  void ShowProgress(const ProgressDisplay&) override {}
  void ReloadView(ResultsTab) override {}
  void ShowBadge(uint32_t) override {}
  [[nodiscard]] bool IsActive() const override { return true; }
  void RequestAttention() override {}
  void ShowAlert(const std::string&, const std::string&) override {}
};

}  // namespace quill::test
