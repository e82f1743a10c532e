// SPDX-License-Identifier: GPL-3.0-or-later
// A few results for the tests of the tables: two groups of sound, a pair of pictures, and measured
// files.
#pragma once

#include <memory>
#include <string>

#include "app/app_delegate.h"
#include "core/configuration.h"
#include "results/file_operations.h"
#include "support/manual_queue.h"
#include "support/temp_folder.h"
#include "ui/table/results_view.h"

namespace quill::test {

class CShowingFrontEnd : public CFrontEnd {
 public:
  CResultsView* views[4] = {};
  [[nodiscard]] bool HasSelection() const override { return false; }
  [[nodiscard]] std::vector<TDXSelectedFolder> UnloadList() override { return {}; }
  void SetTimer(bool) override {}
  void ShowThreads(ScanButton) override {}
  void ShowProgress(const ProgressDisplay&) override {}
  void ReloadView(ResultsTab tab) override {
    if (CResultsView* view = views[static_cast<int>(tab)]) view->ReloadView();
  }
  void ShowBadge(uint32_t) override {}
  [[nodiscard]] bool IsActive() const override { return true; }
  void RequestAttention() override {}
  void ShowAlert(const std::string&, const std::string&) override {}
};

inline CRef<const ItemBase> Sound(const std::string& path, uint32_t kilobits = 128) {
  auto base = MakeRef<ItemBase>();
  base->path = path;
  base->artist = "Ann";
  base->title = "Lanterns";
  base->bitrate = kilobits * 1000;
  base->durationMs = 185000;
  base->size = 2960000;
  base->format = 6;
  return base;
}

inline CRef<const ImageInfo> Picture(const std::string& path, uint32_t width) {
  auto info = MakeRef<ImageInfo>();
  info->path = path;
  info->width = width;
  info->height = 1000;
  info->format = 4;
  info->bits = 24;
  return info;
}

// The delegate with all three tables, not started: no threads, nothing on disk but its folders.
class CSampleResults {
 public:
  CSampleResults() {
    CConfiguration::Instance().SetStore(&settings);
    CConfiguration::Instance().SetFolders(folder / "support", folder / "logs");
    delegate = std::make_unique<TDXAppDelegate>(queue, frontEnd);
  }
  ~CSampleResults() {
    delegate.reset();
    CConfiguration::Instance().SetStore(nullptr);
  }

  void Add(const std::string& first, const std::string& second, float tags = 0.5F,
           float content = 0.9F, float precise = -1) {
    (void)delegate->AudioDups().LockedAdd(
        {Sound(first), Sound(second), 2, 0, {tags, content, precise}});
    (void)delegate->AudioDups().ProcessNewData();
  }
  // Group 1 is a, b, c, in which a matches both others; group 2 is d, e.
  void AddTwoGroups() {
    Add("/m/a.mp3", "/m/b.mp3", 0.5F, 0.9F, 0.25F);
    Add("/m/a.mp3", "/m/c.MP3", 0.75F, -1, -1);
    Add("/m/d.mp3", "/m/e.ogg");
  }

  TDXAppDelegate& operator*() { return *delegate; }
  TDXAppDelegate* operator->() { return delegate.get(); }

  CTempFolder folder;
  CMemorySettingsStore settings;
  CManualQueue queue;
  CShowingFrontEnd frontEnd;
  std::unique_ptr<TDXAppDelegate> delegate;
};

}  // namespace quill::test
