// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/app_delegate.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <new>
#include <utility>

#include "app/data_files.h"
#include "core/configuration.h"
#include "core/defaults.h"
#include "core/log.h"
#include "core/system_error.h"
#include "workers/scan_engines.h"

namespace quill {

namespace {

// The table forgets its content, and the autosave file is left to the clear of another table.
template <class Table>
void ClearDetached(Table& table) {
  CResultsJournal* const journal = std::exchange(table.m_journal, nullptr);
  table.Clear();
  table.m_journal = journal;
}

}  // namespace

TDXAppDelegate::TDXAppDelegate(CMainQueue& queue, CFrontEnd& frontEnd)
    : m_queue(queue),
      m_frontEnd(frontEnd),
      m_self(std::make_shared<TDXAppDelegate*>(this)),
      m_audioStore(m_cache, m_counters),
      m_imageStore(m_cache, m_counters),
      m_analysisStore(m_cache),
      m_audioDups(m_audioStore, m_ignores),
      m_imageDups(m_imageStore, m_ignores),
      m_audioAnalysis(m_analysisStore, m_ignores) {
  const CConfiguration& configuration = CConfiguration::Instance();
  CLog& log = CLog::Instance();
  log.SetFolder(configuration.LogsPath());
  log.Line("Log started");

  const std::weak_ptr<TDXAppDelegate*> weak = m_self;
  auto post = [this, weak](void (TDXAppDelegate::*block)()) {
    return [this, weak, block] {
      m_queue.Post([weak, block] {
        if (const auto self = weak.lock()) ((*self)->*block)();
      });
    };
  };
  m_audioDups.m_callback = post(&TDXAppDelegate::ProcessNewAudio);
  m_imageDups.m_callback = post(&TDXAppDelegate::ProcessNewImages);
  m_audioAnalysis.m_callback = post(&TDXAppDelegate::ProcessNewAnalysis);
  m_audioDups.m_controller = &m_audioAnalysis;
  m_audioAnalysis.m_controller = &m_audioDups;

  _openCL = std::make_unique<COpenCL>();
  _workers = std::make_unique<CWorkers>(m_counters, [this] {
    return std::make_unique<CScanEngines>(CDecoderTable::Instance(), m_settings, m_ignores,
                                          m_audioStore, m_audioDups, m_imageStore, m_imageDups,
                                          m_analysisStore, m_audioAnalysis, _openCL.get());
  });
  _workers->m_callback = post(&TDXAppDelegate::PoolChanged);

  _journal = std::make_unique<CResultsJournal>(&m_audioDups, &m_imageDups, &m_audioAnalysis);
  m_audioDups.m_workers = this;

  log.Line("Loading cache...");
  m_cache.SetClient(CacheRecordType::kAudio, &m_audioStore);
  m_cache.SetClient(CacheRecordType::kImage, &m_imageStore);
  m_cache.SetClient(CacheRecordType::kAnalysis, &m_analysisStore);
  m_cacheLoaded = m_cache.Load(configuration.ApplicationSupportPath(kCacheFile));
  log.Line(m_cacheLoaded ? "Loading cache complete" : "Loading cache failed");

  log.Line("Loading ignores...");
  const std::string ignoresPath = configuration.ApplicationSupportPath(kIgnoresFile);
  const bool ignores = m_ignores.LoadIgnores(ignoresPath);
  std::error_code fault;
  m_keepIgnoresFile = !ignores && std::filesystem::exists(ignoresPath, fault);
  log.Line(ignores ? "Loading ignores complete" : "Loading ignores failed");

  _scanningMode = static_cast<ScanMode>(
      configuration.GetInteger("scanningMode", static_cast<int32_t>(ScanMode::kDuplicates)));
}

TDXAppDelegate::~TDXAppDelegate() {
  ApplicationWillTerminate();
}

void TDXAppDelegate::AwakeFromNib() {
  CConfiguration& configuration = CConfiguration::Instance();
  RenameOldSettings(configuration);
  configuration.Register(DefaultsGeneral());
  configuration.Register(DefaultsMiscellaneous());
  configuration.Register(DefaultsOpenCl());
  ReloadConfig();
}

void TDXAppDelegate::ReloadConfig() {
  const CConfiguration& configuration = CConfiguration::Instance();
  if (m_audioDups.ReloadSettings()) Reload(ResultsTab::kAudioDups);
  if (m_imageDups.ReloadSettings()) Reload(ResultsTab::kImageDups);

  if (configuration.GetBool("enableOpenCL", false)) {
    const int32_t workSize = configuration.GetInteger("valueOpenCLWorkSize", 64);
    (void)_openCL->Reinit(configuration.GetString("valueOpenCLDevice", {}),
                          static_cast<uint64_t>(std::max(workSize, 0)));
  } else {
    _openCL->Disable();
  }

  AudioSettings audio;
  audio.Configure(configuration.GetBool("enableAudioTags", true),
                  configuration.GetBool("enableAudioContent", true),
                  configuration.GetBool("enableAudioPrecise", true),
                  configuration.GetBool("enableAudioDuration", true),
                  configuration.GetBool("enableSkipVideo", true),
                  configuration.GetFloat("valueAudioTags", 0.75F),
                  configuration.GetFloat("valueAudioContent", 0.75F),
                  configuration.GetFloat("valueAudioPrecise", 0.5F),
                  configuration.GetFloat("valueAudioDuration", 0.7F));
  m_settings.SetAudio(audio);

  ImageSettings image;
  image.Configure(configuration.GetBool("enableImageContent", true),
                  configuration.GetBool("enableImageExperimental", true),
                  configuration.GetFloat("valueImageContent", 0.75F),
                  configuration.GetFloat("valueImageExperimental", 0.75F));
  m_settings.SetImage(image);

  CDecoderTable::Instance().Reload();

  int32_t threads = 0;
  if (configuration.GetBool("enableThreadLimit", false))
    threads = configuration.GetInteger("valueThreadLimit", 0);
  (void)_workers->SetThreadCount(threads > 0 ? static_cast<uint32_t>(threads) : 0);
  UIProgress();
}

void TDXAppDelegate::RestoreAutosave() {
  if (m_audioDups.m_journal != nullptr || m_imageDups.m_journal != nullptr ||
      m_audioAnalysis.m_journal != nullptr)
    return;
  const CConfiguration& configuration = CConfiguration::Instance();
  if (!_journal->OpenForWriting(configuration.ApplicationSupportPath(kAutosaveFile))) return;
  if (_stateLoaded)
    (void)_journal->Rebuild();
  else
    (void)_journal->Load();
  m_audioDups.m_journal = _journal.get();
  m_imageDups.m_journal = _journal.get();
  m_audioAnalysis.m_journal = _journal.get();
  if (!_stateLoaded) {
    _stateLoaded = true;
    FillReports(ScanState::kDone);
    if (m_pendingWork.Open(configuration.ApplicationSupportPath(kPendingWorkFile))) {
      CSerializerReader reader(m_pendingWork, *_workers, &m_audioStore, &m_imageStore);
      (void)reader.InnerProcess();
      if (_workers->Pending() != 0) BeginReports(_scanningMode);
    }
  }
  ReloadAll();
}

void TDXAppDelegate::ResultsChanged(ResultsTab tab) {
  Reload(tab);
  if (tab == ResultsTab::kAudioDups) m_frontEnd.ReloadView(ResultsTab::kAudioAnalysis);
  if (tab == ResultsTab::kAudioAnalysis) m_frontEnd.ReloadView(ResultsTab::kAudioDups);
}

void TDXAppDelegate::StartScan() {
  _stateLoaded = true;
  if (!_workers->IsRunning()) {
    _workers->Continue();
  } else if (_workers->Pending() != 0) {
    _workers->Pause();
  } else {
    ResetMarks();
    if (_scanningMode == ScanMode::kDuplicates) {
      ClearDetached(m_audioDups);
      m_imageDups.Clear();
      Reload(ResultsTab::kAudioDups);
      Reload(ResultsTab::kImageDups);
    } else {
      m_audioAnalysis.Clear();
      Reload(ResultsTab::kAudioAnalysis);
    }
    BeginReports(_scanningMode);
    ProcessFolders(_scanningMode);
  }
  UIThreads();
}

void TDXAppDelegate::StartMenuScan() {
  SetModeScan();
  StartScan();
}

void TDXAppDelegate::StartMenuAnalyse() {
  SetModeAnalyse();
  StartScan();
}

void TDXAppDelegate::AnalyseFiles(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) QueueAnalysis(path, CWorkers::Request::kAnalysisFile);
}

void TDXAppDelegate::AnalyseFolders(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) QueueAnalysis(path, CWorkers::Request::kAnalysisFolder);
}

void TDXAppDelegate::RequestAnalysis(std::string path) {
  QueueAnalysis(std::move(path), CWorkers::Request::kAnalysisFile);
}

void TDXAppDelegate::QueueAnalysis(std::string path, uint32_t kind) {
  std::unique_ptr<CWorkers::Request> request(new (std::nothrow) CWorkers::Request);
  if (!request) return;
  BeginReports(ScanMode::kAnalysis);
  request->kind = kind;
  request->path = std::move(path);
  request->firstFlag = kind == CWorkers::Request::kAnalysisFolder ? 1 : 0;
  (void)_workers->QueueRequest(std::move(request));
}

void TDXAppDelegate::StopScan() {
  _stateLoaded = true;
  _workers->Stop();
  if (_workers->IsStopping()) {
    for (ScanReport& report : m_reports) {
      if (report.state == ScanState::kRunning) report.state = ScanState::kStopping;
    }
  }
  UIThreads();
}

bool TDXAppDelegate::CanStart() const {
  return !_workers->IsStopping() &&
         (m_frontEnd.HasSelection() || !_workers->IsRunning() || _workers->Pending() != 0);
}

bool TDXAppDelegate::CanStop() const {
  return !_workers->IsStopping() && _workers->Pending() != 0;
}

bool TDXAppDelegate::IsIdle() const {
  return !_workers->IsStopping() && _workers->IsRunning() && _workers->Pending() == 0;
}

bool TDXAppDelegate::WasStopped() const {
  return m_counters.droppedFiles != 0 || m_counters.droppedFolders != 0;
}

std::string TDXAppDelegate::HowFar() const {
  return HowFarText(m_counters.processed, m_counters.scheduled + m_counters.droppedFiles,
                    m_counters.droppedFolders != 0);
}

bool TDXAppDelegate::CanBegin() const {
  return IsIdle() && m_frontEnd.HasSelection();
}

bool TDXAppDelegate::SaveData(const std::string& path) {
  (void)m_audioDups.ProcessNewData();
  (void)m_imageDups.ProcessNewData();
  (void)m_audioAnalysis.ProcessNewData();
  // Written beside and renamed: what is in an older file stays there until the new one is whole.
  std::error_code isNew;
  const std::string existing = std::filesystem::canonical(path, isNew).string();
  const std::string target = isNew ? path : existing;
  const std::string fresh = target + ".saving";
  if (WriteResults(fresh) && rename(fresh.c_str(), target.c_str()) == 0) return true;
  m_frontEnd.ShowAlert("Error", "Failed to save results file");
  return false;
}

bool TDXAppDelegate::WriteResults(const std::string& path) {
  if (!CResultsJournal::MayReplace(path)) return CSystemError::Bool("WriteResults", 1, false);
  CResultsJournal journal(&m_audioDups, &m_imageDups, &m_audioAnalysis);
  if (!journal.OpenForWriting(path)) return false;
  if (journal.Rebuild()) return true;
  unlink(path.c_str());
  return false;
}

bool TDXAppDelegate::LoadData(const std::string& path) {
  _stateLoaded = true;
  // A file that is none of ours must not cost the results on show.
  if (!CResultsJournal::IsResultsFile(path)) {
    m_frontEnd.ShowAlert("Error", "Failed to open results file");
    return false;
  }
  ResetMarks();
  ClearDetached(m_audioDups);
  ClearDetached(m_imageDups);
  m_audioAnalysis.Clear();
  // Views know their rows by address, and the records of the file may get those of the ones gone.
  ReloadAll();
  CResultsJournal file(&m_audioDups, &m_imageDups, &m_audioAnalysis);
  const bool loaded = file.OpenForReading(path) && file.Load();
  m_reports = {};
  FillReports(ScanState::kOpened);
  ReloadAll();
  return loaded;
}

CTagAccess& TDXAppDelegate::Tags() {
  if (!m_tags) m_tags = std::make_unique<CTagAccess>(CDecoderTable::Instance());
  return *m_tags;
}

void TDXAppDelegate::ClearCache() {
  m_cache.Clear();
  UIProgress();
}

void TDXAppDelegate::ClearIgnores() {
  m_ignores.Clear(CConfiguration::Instance().ApplicationSupportPath(kIgnoresFile));
}

void TDXAppDelegate::ApplicationWillTerminate() {
  if (std::exchange(m_terminated, true)) return;
  if (std::exchange(_timer, false)) m_frontEnd.SetTimer(false);
  const CConfiguration& configuration = CConfiguration::Instance();
  ProcessFolders(ScanMode::kNone);
  if (!m_keepIgnoresFile)
    (void)m_ignores.SaveIgnores(configuration.ApplicationSupportPath(kIgnoresFile));
  if (m_pendingWork.Open(configuration.ApplicationSupportPath(kPendingWorkFile))) {
    CSerializer serializer(m_pendingWork, *_workers, &m_audioStore, &m_imageStore);
    (void)serializer.InnerProcess();
  }
  _workers.reset();
  (void)m_audioDups.ProcessNewData();
  (void)m_imageDups.ProcessNewData();
  (void)m_audioAnalysis.ProcessNewData();
  m_audioDups.m_journal = nullptr;
  m_imageDups.m_journal = nullptr;
  m_audioAnalysis.m_journal = nullptr;
  _journal.reset();
  _openCL.reset();
}

void TDXAppDelegate::SetMode(ScanMode mode) {
  _scanningMode = mode;
  CConfiguration::Instance().SetInteger("scanningMode", static_cast<int32_t>(mode));
}

void TDXAppDelegate::ProcessFolders(ScanMode mode) {
  for (TDXSelectedFolder& folder : m_frontEnd.UnloadList()) {
    if (mode == ScanMode::kAnalysis)
      QueueAnalysis(std::move(folder.path), CWorkers::Request::kAnalysisFolder);
    if (mode != ScanMode::kDuplicates) continue;
    std::unique_ptr<CWorkers::Request> request(new (std::nothrow) CWorkers::Request);
    if (!request) continue;
    request->path = std::move(folder.path);
    request->kind = CWorkers::Request::kFolder;
    request->firstFlag = folder.groupId;
    request->secondFlag = 1;
    (void)_workers->QueueRequest(std::move(request));
  }
}

void TDXAppDelegate::ResetMarks() {
  m_counters.processed = 0;
  m_counters.scheduled = 0;
  m_audioStore.ResetScanState();
  m_imageStore.ResetScanState();
}

void TDXAppDelegate::BeginReports(ScanMode mode) {
  const auto begin = [this](ResultsTab tab) {
    m_reports[static_cast<size_t>(tab)] = {.state = ScanState::kRunning};
  };
  if (mode == ScanMode::kDuplicates) {
    begin(ResultsTab::kAudioDups);
    begin(ResultsTab::kImageDups);
  } else {
    begin(ResultsTab::kAudioAnalysis);
  }
}

void TDXAppDelegate::EndReports() {
  const auto end = [this](ResultsTab tab, uint32_t files, size_t rows) {
    ScanReport& report = m_reports[static_cast<size_t>(tab)];
    if (report.state != ScanState::kRunning && report.state != ScanState::kStopping) return;
    report = {WasStopped() ? ScanState::kStopped : ScanState::kDone, files, rows != 0};
  };
  end(ResultsTab::kAudioDups, m_audioStore.ArrivalCount(), m_audioDups.RowCount());
  end(ResultsTab::kImageDups, m_imageStore.ArrivalCount(), m_imageDups.RowCount());
  const size_t rated = m_audioAnalysis.RowCount();
  end(ResultsTab::kAudioAnalysis, static_cast<uint32_t>(rated), rated);
}

void TDXAppDelegate::FillReports(ScanState state) {
  const auto fill = [&](ResultsTab tab, size_t rows) {
    if (rows != 0 || state == ScanState::kOpened)
      m_reports[static_cast<size_t>(tab)] = {state, 0, rows != 0};
  };
  fill(ResultsTab::kAudioDups, m_audioDups.RowCount());
  fill(ResultsTab::kImageDups, m_imageDups.RowCount());
  fill(ResultsTab::kAudioAnalysis, m_audioAnalysis.RowCount());
}

void TDXAppDelegate::PoolChanged() {
  if (m_terminated) return;
  CheckTimer();
  UIThreads();
  UIProgress();
}

void TDXAppDelegate::ProcessNewAudio() {
  if (m_terminated) return;
  (void)m_audioDups.ProcessNewData();
  Reload(ResultsTab::kAudioDups);
}

void TDXAppDelegate::ProcessNewImages() {
  if (m_terminated) return;
  (void)m_imageDups.ProcessNewData();
  Reload(ResultsTab::kImageDups);
}

void TDXAppDelegate::ProcessNewAnalysis() {
  if (m_terminated) return;
  (void)m_audioAnalysis.ProcessNewData();
  ResultsChanged(ResultsTab::kAudioAnalysis);
}

void TDXAppDelegate::Reload(ResultsTab tab) {
  m_frontEnd.ReloadView(tab);
  UpdateBadge();
}

void TDXAppDelegate::ReloadAll() {
  for (const ResultsTab tab :
       {ResultsTab::kAudioDups, ResultsTab::kImageDups, ResultsTab::kAudioAnalysis})
    Reload(tab);
}

void TDXAppDelegate::CheckTimer() {
  const bool wanted = _workers->Pending() != 0;
  if (wanted != _timer) m_frontEnd.SetTimer(_timer = wanted);
}

void TDXAppDelegate::UIThreads() {
  if (!_workers->IsRunning()) {
    m_frontEnd.ShowThreads(ScanButton::kContinue);
  } else if (_workers->Pending() != 0) {
    _bounce = true;
    m_frontEnd.ShowThreads(ScanButton::kPause);
  } else {
    EndReports();
    m_frontEnd.ShowThreads(ScanButton::kScan);
    if (std::exchange(_bounce, false) && !m_frontEnd.IsActive()) m_frontEnd.RequestAttention();
  }
}

void TDXAppDelegate::UIProgress() {
  ProgressDisplay display;
  display.cacheCount = m_cache.Count();
  display.processed = m_counters.processed;
  display.scheduled = m_counters.scheduled + m_counters.droppedFiles;
  const bool active = _workers->IsRunning() && !_workers->IsStopping() && _workers->Pending() != 0;
  m_estimate.Tick(static_cast<int32_t>(std::time(nullptr)), active, display.processed,
                  display.scheduled);
  display.progress = m_estimate.Progress();
  display.text = _workers->IsStopping() ? "Stopping..." : m_estimate.Text();
  if (IsIdle() && WasStopped()) display.stopped = "Stopped: " + HowFar();
  m_frontEnd.ShowProgress(display);
}

void TDXAppDelegate::UpdateBadge() {
  const uint32_t count = m_audioDups.GroupCount() + m_imageDups.GroupCount();
  if (count == _badgeCount) return;
  _badgeCount = count;
  m_frontEnd.ShowBadge(count);
}

}  // namespace quill
