// SPDX-License-Identifier: GPL-3.0-or-later
// The tables behind a results file, for commands that need no scan. Nothing of the data folder is
// read but the settings. Main thread.
#pragma once

#include <string>

#include "audio/analysis_store.h"
#include "audio/audio_store.h"
#include "core/scan_counters.h"
#include "image/image_store.h"
#include "results/audio_analysis_controller.h"
#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"
#include "storage/cache_store.h"
#include "storage/ignore_list.h"
#include "storage/results_journal.h"

namespace quill::cli {

class CLoadedResults {
 public:
  CLoadedResults();
  CLoadedResults(const CLoadedResults&) = delete;
  CLoadedResults& operator=(const CLoadedResults&) = delete;

  // Reads the file into the tables. With `follow` each later change of a table is appended to the
  // file. False after a message to the user.
  [[nodiscard]] bool Load(const std::string& path, bool follow);

 private:
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_audioStore{m_cache, m_counters};
  CImageStore m_imageStore{m_cache, m_counters};
  CAnalysisStore m_analysisStore{m_cache};
  CIgnoreList m_ignores;

 public:
  CAudioDupsController audio{m_audioStore, m_ignores};
  CImageDupsController images{m_imageStore, m_ignores};
  CAudioAnalysisController analysis{m_analysisStore, m_ignores};

 private:
  CResultsJournal m_journal{&audio, &images, &analysis};
};

}  // namespace quill::cli
