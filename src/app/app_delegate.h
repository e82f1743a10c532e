// SPDX-License-Identifier: GPL-3.0-or-later
// The one object that owns everything long-lived: the stores, the controllers behind the tables,
// the worker pool and the autosave journal. It starts the program, turns configuration into engine
// settings, starts, pauses and stops scans, keeps progress, opens and saves results, and shuts
// everything down in a fixed order. It holds no scanning logic and no view code: the window and the
// command line are front ends over it, and results never pass through it.
//
// Main thread only. The one entry from other threads is the pool's callback and the controllers'
// wake-ups, which do nothing but post to the main queue.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "app/front_end.h"
#include "app/progress_estimate.h"
#include "app/scan_report.h"
#include "audio/analysis_store.h"
#include "audio/audio_store.h"
#include "core/main_queue.h"
#include "core/scan_counters.h"
#include "decoding/decoder_table.h"
#include "decoding/tag_access.h"
#include "device/opencl.h"
#include "image/image_store.h"
#include "results/audio_analysis_controller.h"
#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"
#include "storage/cache_store.h"
#include "storage/ignore_list.h"
#include "storage/pending_work.h"
#include "storage/results_journal.h"
#include "workers/scan_settings.h"
#include "workers/workers.h"

namespace quill {

enum class ScanMode : int32_t { kNone = 0, kDuplicates = 1, kAnalysis = 2 };

class TDXAppDelegate : private CAnalysisRequests {
 public:
  // Makes everything, opens the log and loads cache and ignore list; no threads yet. The
  // configuration must have its store and folders. Both arguments must outlive the delegate.
  TDXAppDelegate(CMainQueue& queue, CFrontEnd& frontEnd);
  // Terminates, if that has not been done.
  ~TDXAppDelegate() override;
  TDXAppDelegate(const TDXAppDelegate&) = delete;
  TDXAppDelegate& operator=(const TDXAppDelegate&) = delete;

  // Second half of the start, once the front end stands: registers the defaults and pushes the
  // configuration into the engines, which creates the threads.
  void AwakeFromNib();
  // Goes on where the last run of the program ended: the autosave file fills the tables, unless
  // this run has a state of its own, and the work that was pending is queued again. From then on
  // every change of a result is appended to the file. A file that cannot be opened leaves the
  // program without autosave.
  void RestoreAutosave();

  // Pushes the configuration into the engines; safe in mid-scan.
  void ReloadConfig();

  // The user has changed rows of a table: it is shown anew, the other audio table too, and the
  // badge follows.
  void ResultsChanged(ResultsTab tab);

  // The one button: continue when paused, pause when work is pending, else begin a new scan.
  void StartScan();
  // Does not wait: files in work run to their end, all else in the queue is thrown away.
  void StopScan();
  // Begins a scan in a mode of its own choice, as the menu does.
  void StartMenuScan();
  void StartMenuAnalyse();
  // Queues single files, or folders with all below them, for analysis; with no scan or beside one.
  // Nothing is cleared.
  void AnalyseFiles(const std::vector<std::string>& paths);
  void AnalyseFolders(const std::vector<std::string>& paths);
  void SetModeScan() { SetMode(ScanMode::kDuplicates); }
  void SetModeAnalyse() { SetMode(ScanMode::kAnalysis); }
  [[nodiscard]] ScanMode Mode() const { return _scanningMode; }
  [[nodiscard]] bool CanStart() const;
  [[nodiscard]] bool CanStop() const;
  [[nodiscard]] bool IsIdle() const;
  // Whether the last scan was ended before its time, and how far it came: "30 of 57 files".
  [[nodiscard]] bool WasStopped() const;
  [[nodiscard]] std::string HowFar() const;
  // How the last scan for the table went, or the one that is under way.
  [[nodiscard]] const ScanReport& Report(ResultsTab tab) const {
    return m_reports[static_cast<size_t>(tab)];
  }
  // Whether the menu's scans can begin: idle, with folders to scan.
  [[nodiscard]] bool CanBegin() const;

  // Writes the present results to a file, or reads a file into the tables. A failure is told by an
  // alert and leaves the tables as they are.
  bool SaveData(const std::string& path);
  bool LoadData(const std::string& path);

  // Empties the cache file and the engines' stores.
  void ClearCache();
  void ClearIgnores();

  // Called by the front end's timer.
  void TimerUpdate() { UIProgress(); }

  // Orderly end: settings and ignores are saved, the pool is drained into the pending-work stream,
  // what the last threads posted still reaches the journal, and the journal is cut to length.
  // Nothing may be called afterwards but the destructor.
  void ApplicationWillTerminate();

  [[nodiscard]] CAudioDupsController& AudioDups() { return m_audioDups; }
  [[nodiscard]] CImageDupsController& ImageDups() { return m_imageDups; }
  [[nodiscard]] CAudioAnalysisController& AudioAnalysis() { return m_audioAnalysis; }
  [[nodiscard]] CMainQueue& Queue() { return m_queue; }
  // The tags of single files; made on the first use.
  [[nodiscard]] CTagAccess& Tags();
  [[nodiscard]] CIgnoreList& Ignores() { return m_ignores; }
  [[nodiscard]] CCacheStore& Cache() { return m_cache; }
  [[nodiscard]] const CScanCounters& Counters() const { return m_counters; }
  // Whether "cache.dat" could be opened: the command line tells the user.
  [[nodiscard]] bool CacheLoaded() const { return m_cacheLoaded; }
  // Null after termination.
  [[nodiscard]] CWorkers* GetWorkers() { return _workers.get(); }
  [[nodiscard]] COpenCL* GetOpenCL() { return _openCL.get(); }

 private:
  void SetMode(ScanMode mode);
  void ProcessFolders(ScanMode mode);
  void ResetMarks();
  void BeginReports(ScanMode mode);
  // The pool is idle.
  void EndReports();
  // Of tables that were filled from a file.
  void FillReports(ScanState state);
  void PoolChanged();
  void ProcessNewAudio();
  void ProcessNewImages();
  void ProcessNewAnalysis();
  [[nodiscard]] bool WriteResults(const std::string& path);
  void RequestAnalysis(std::string path) override;
  void QueueAnalysis(std::string path, uint32_t kind);
  void Reload(ResultsTab tab);
  void ReloadAll();
  void CheckTimer();
  void UIThreads();
  void UIProgress();
  void UpdateBadge();

  CMainQueue& m_queue;
  CFrontEnd& m_frontEnd;
  // Blocks on the main queue hold it weakly: one that arrives after the delegate does nothing.
  std::shared_ptr<TDXAppDelegate*> m_self;

  CScanCounters m_counters;
  CScanSettings m_settings;
  CCacheStore m_cache;
  CIgnoreList m_ignores;
  CAudioStore m_audioStore;
  CImageStore m_imageStore;
  CAnalysisStore m_analysisStore;
  CPendingWorkStore m_pendingWork;
  CAudioDupsController m_audioDups;
  CImageDupsController m_imageDups;
  CAudioAnalysisController m_audioAnalysis;
  std::unique_ptr<COpenCL> _openCL;
  std::unique_ptr<CWorkers> _workers;
  std::unique_ptr<CResultsJournal> _journal;
  std::unique_ptr<CTagAccess> m_tags;

  CProgressEstimate m_estimate;
  std::array<ScanReport, 4> m_reports;  // by ResultsTab; the first is not used
  ScanMode _scanningMode = ScanMode::kDuplicates;
  bool _stateLoaded = false;  // this run of the program has its own state
  bool _timer = false;
  bool _bounce = false;  // a scan ran: its end may ask for the user's attention
  uint32_t _badgeCount = 0;
  bool m_cacheLoaded = false;
  bool m_keepIgnoresFile = false;  // it is there but could not be read: never write over it
  bool m_terminated = false;
};

}  // namespace quill
