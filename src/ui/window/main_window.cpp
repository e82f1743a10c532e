// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/main_window.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QMenu>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTableView>
#include <QVBoxLayout>
#include <filesystem>
#include <utility>

#include "core/configuration.h"
#include "core/log.h"
#include "decoding/process_link.h"
#include "platform/attention.h"
#include "platform/cubeb_output.h"
#include "platform/main_loop.h"
#include "ui/audio/audio_dups_view.h"
#include "ui/folders/folders_view.h"
#include "ui/images/image_dups_view.h"
#include "ui/inspection/player_window.h"
#include "ui/preferences/preferences_window.h"
#include "ui/quality/audio_analysis_view.h"
#include "ui/table/results_view.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/path_text.h"
#include "ui/window/documents.h"
#include "ui/window/given_paths.h"
#include "ui/window/help_window.h"
#include "ui/window/status_view.h"
#include "ui/window/update_window.h"

namespace quill {

namespace {

constexpr int kTickMs = 200;
// A window that is not drawn at once, as when it starts minimised, goes on without that.
constexpr int kRestoreWithinMs = 500;
constexpr QSize kFirstSize(1100, 700);
constexpr qsizetype kMostRefusals = 10;  // in one message
constexpr ResultsTab kTabs[] = {ResultsTab::kFolders, ResultsTab::kAudioDups,
                                ResultsTab::kImageDups, ResultsTab::kAudioAnalysis};

// Where the look of the window is kept.
constexpr const char* kGeometryKey = "windowGeometry";
constexpr const char* kTabKey = "windowTab";
constexpr const char* kFoldersLayoutKey = "windowFoldersLayout";
constexpr const char* kColumnsKeys[] = {nullptr, "windowAudioColumns", "windowImageColumns",
                                        "windowAnalysisColumns"};

size_t Index(ResultsTab tab) {
  return static_cast<size_t>(tab);
}

QByteArray LoadBytes(const char* key) {
  CByteBlock bytes;
  if (!CConfiguration::Instance().GetBytes(key, &bytes)) return {};
  return {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())};
}

void SaveBytes(const char* key, const QByteArray& bytes) {
  CConfiguration::Instance().SetBytes(key, CByteBlock(bytes.begin(), bytes.end()));
}

QString Counted(uint32_t count, const QString& one, const QString& many) {
  return QString("%L1 %2").arg(count).arg(count == 1 ? one : many);
}

}  // namespace

TDXMainWindow::TDXMainWindow(CMainQueue& queue)
    : m_questions(this),
      m_files(m_disk, m_questions),
      m_delegate(std::make_unique<TDXAppDelegate>(queue, static_cast<CFrontEnd&>(*this))),
      m_documents(std::make_unique<CDocuments>(this, *m_delegate)) {
  setWindowTitle("Quillmarsh");
  setAcceptDrops(true);
  resize(kFirstSize);
  connect(&m_timer, &QTimer::timeout, this, [this] { m_delegate->TimerUpdate(); });
  m_restore.setSingleShot(true);
  connect(&m_restore, &QTimer::timeout, this, &TDXMainWindow::Restore);

  m_folders = new TDXFoldersView(*m_delegate);
  auto* const audio = new TDXAudioDupsView(*m_delegate, m_files);
  m_views[Index(ResultsTab::kAudioDups)] = audio;
  m_views[Index(ResultsTab::kImageDups)] = new TDXImageDupsView(*m_delegate, m_files);
  auto* const quality = new TDXAudioAnalysisView(*m_delegate, m_files);
  m_views[Index(ResultsTab::kAudioAnalysis)] = quality;
  audio->m_open = quality->m_open = [this](const std::string& path) { return PlayFile(path); };
  m_status = new TDXStatusView;
  m_tabs = new QStackedWidget;
  m_tabs->addWidget(m_folders);
  for (CResultsView* view : m_views) {
    if (!view) continue;
    m_tabs->addWidget(view);
    connect(view, &CResultsView::SummaryChanged, this,
            [this, view](const QString& text) { UpdateSummary(view->Tab(), text); });
  }
  connect(m_folders, &TDXFoldersView::ListChanged, this, [this] { UpdateActions(); });

  auto* centre = new QWidget;
  auto* layout = new QVBoxLayout(centre);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(m_tabs, 1);
  layout->addWidget(m_status);
  setCentralWidget(centre);

  MakeActions();
  MakeMenus();
  MakeToolbar();
  SwitchView(ResultsTab::kFolders);
}

TDXMainWindow::~TDXMainWindow() {
  // An end that comes before the restore must not drop the work that the last run left.
  if (m_restore.isActive()) m_delegate->RestoreAutosave();
  // The folder list is stored at the end of the run, so the views must outlive the delegate's last
  // call and are told nothing after it.
  m_delegate->ApplicationWillTerminate();
  // They go before the controllers that they show.
  delete m_player;
  delete m_preferences;
  delete takeCentralWidget();
  m_folders = nullptr;
  m_views.fill(nullptr);
  m_status = nullptr;
}

void TDXMainWindow::Start(const std::vector<std::string>& given) {
  m_given = given;
  m_folders->LoadList();
  RestoreLayout();
  m_delegate->AwakeFromNib();
  TDXUpdateWindow::CheckAtStart(this);
  UpdateAllActions();
  m_restore.start(kRestoreWithinMs);
  show();
}

void TDXMainWindow::paintEvent(QPaintEvent* event) {
  QMainWindow::paintEvent(event);
  // Long results do not delay the first sight of the window.
  if (m_restore.isActive()) m_restore.start(0);
}

void TDXMainWindow::Restore() {
  m_delegate->RestoreAutosave();
  UpdateAllActions();
  CallFromMainLoop(this, [this] {
    TakeGiven();
    TellTroubles();
  });
}

void TDXMainWindow::TellTroubles() {
  std::error_code fault;
  const std::string decoder = CProcessLink::OwnDecoder();
  if (!std::filesystem::is_regular_file(decoder, fault)) {
    ShowAlert("Error", tr("The program that reads media files is missing, so scans find nothing:\n"
                          "%1\nInstall Quillmarsh again.")
                           .arg(ShownPath(decoder))
                           .toStdString());
  }
  if (!m_delegate->CacheLoaded()) {
    ShowAlert("Error", tr("The cache in\n%1\ncannot be used. Scans work, but the next one will "
                          "read all files again.")
                           .arg(ShownPath(CConfiguration::Instance().ApplicationSupportPath()))
                           .toStdString());
  }
}

void TDXMainWindow::BringForward(const std::vector<std::string>& given) {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
  Give(given);
}

void TDXMainWindow::Give(const std::vector<std::string>& paths) {
  m_given.insert(m_given.end(), paths.begin(), paths.end());
  CallFromMainLoop(this, [this] { TakeGiven(); });
}

void TDXMainWindow::TakeGiven() {
  // The restore takes them behind itself.
  if (m_given.empty() || m_restore.isActive()) return;
  const GivenPaths given = SortGiven(std::exchange(m_given, {}));
  if (!given.results.empty()) m_documents->Open(given.results);
  if (!given.folders.empty()) {
    m_folders->AddFolders(given.folders);
    SwitchView(ResultsTab::kFolders);
  }
  UpdateAllActions();
  if (given.refused.isEmpty()) return;
  QStringList told = given.refused.mid(0, kMostRefusals);
  if (const qsizetype more = given.refused.size() - told.size(); more > 0)
    told += tr("And %L1 more.").arg(more);
  ShowAlert(tr("Not opened").toStdString(), told.join('\n').toStdString());
}

void TDXMainWindow::closeEvent(QCloseEvent* event) {
  if (m_questions.IsWorking()) {
    m_questions.StopAndClose();
    event->ignore();
    return;
  }
  SaveLayout();
  if (m_preferences) {
    // A dialog of theirs may be open in a loop below this call: they go with the window.
    m_preferences->setAttribute(Qt::WA_DeleteOnClose, false);
    m_preferences->close();
  }
  event->accept();
  // Also out of dialogs that are open: none of them can hold up the end of a session.
  QCoreApplication::exit(0);
}

void TDXMainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (MayTake(DraggedPaths(*event->mimeData()))) event->acceptProposedAction();
}

void TDXMainWindow::dropEvent(QDropEvent* event) {
  event->acceptProposedAction();
  Give(DraggedPaths(*event->mimeData()));
}

bool TDXMainWindow::HasSelection() const {
  return m_folders && m_folders->HasSelection();
}

std::vector<TDXSelectedFolder> TDXMainWindow::UnloadList() {
  return m_folders ? m_folders->UnloadList() : std::vector<TDXSelectedFolder>();
}

void TDXMainWindow::SetTimer(bool on) {
  if (on)
    m_timer.start(kTickMs);
  else
    m_timer.stop();
}

void TDXMainWindow::ShowThreads(ScanButton button) {
  UpdateButton(button);
  // An empty table says what it waits for.
  UpdateAllActions();
}

void TDXMainWindow::ShowProgress(const ProgressDisplay& progress) {
  if (!m_status) return;
  m_status->SetProgress(progress);
  UpdateActions();
}

void TDXMainWindow::ReloadView(ResultsTab tab) {
  if (CResultsView* view = m_views[Index(tab)]) view->ReloadView();
  UpdateActions();
}

void TDXMainWindow::ShowBadge(uint32_t count) {
  ShowLauncherBadge(count);
}

bool TDXMainWindow::IsActive() const {
  return QApplication::activeWindow() != nullptr;
}

void TDXMainWindow::RequestAttention() {
  QApplication::alert(this);
  const bool analysis = m_delegate->Mode() == ScanMode::kAnalysis;
  const uint32_t groups =
      m_delegate->AudioDups().GroupCount() + m_delegate->ImageDups().GroupCount();
  const auto rated = static_cast<uint32_t>(m_delegate->AudioAnalysis().RowCount());
  Notify(m_delegate->WasStopped() ? tr("Scan stopped") : tr("Scan finished"),
         analysis ? Counted(rated, tr("file rated"), tr("files rated"))
                  : Counted(groups, tr("group of duplicates"), tr("groups of duplicates")));
}

void TDXMainWindow::ShowAlert(const std::string& title, const std::string& text) {
  QMessageBox box(QMessageBox::Warning, QString::fromStdString(title), QString::fromStdString(text),
                  QMessageBox::Ok, this);
  box.setTextFormat(Qt::PlainText);
  box.exec();
}

ResultsTab TDXMainWindow::PresentTab() const {
  return static_cast<ResultsTab>(m_tabs->currentIndex());
}

CResultsView* TDXMainWindow::PresentView() const {
  return m_views[Index(PresentTab())];
}

void TDXMainWindow::SwitchView(ResultsTab tab) {
  m_tabs->setCurrentIndex(static_cast<int>(tab));
  m_tabActions->actions().at(static_cast<int>(tab))->setChecked(true);
  m_actionMenu->clear();
  CResultsView* view = PresentView();
  m_actionMenu->addActions(view ? view->MenuActions() : m_folders->MenuActions());
  if (view) view->ResultsTable()->setFocus();
  ShowSummary();
  UpdateAllActions();
}

void TDXMainWindow::UpdateButton(ScanButton button) {
  m_button = button;
  static constexpr struct {
    const char* icon;
    const char* text;
    const char* tip;
  } kButtons[] = {
      {"scan-start", QT_TR_NOOP("&Scan"), QT_TR_NOOP("Scan the chosen folders")},
      {"scan-pause", QT_TR_NOOP("&Pause"), QT_TR_NOOP("Hold the scan; it can be continued")},
      {"scan-start", QT_TR_NOOP("&Continue"), QT_TR_NOOP("Go on with the scan")}};
  const auto& look = kButtons[static_cast<size_t>(button)];
  if (m_start->text() == tr(look.text)) return;
  m_start->setIcon(Icon(look.icon));
  m_start->setText(tr(look.text));
  SetTip(m_start, tr(look.tip));
}

void TDXMainWindow::UpdateActions() {
  if (!m_folders || !m_actionMenu) return;
  const bool duplicates = m_delegate->Mode() == ScanMode::kDuplicates;
  m_start->setEnabled(m_delegate->CanStart());
  m_stop->setEnabled(m_delegate->CanStop());
  m_findDuplicates->setEnabled(m_delegate->CanBegin());
  m_analyse->setEnabled(m_delegate->CanBegin());
  m_save->setEnabled(m_documents->CanSave());
  m_export->setEnabled(PresentView() != nullptr);
  m_selectAll->setEnabled(PresentView() != nullptr);
  m_modeDuplicates->setChecked(duplicates);
  m_modeAnalyse->setChecked(!duplicates);
  {
    const QSignalBlocker quiet(m_mode);
    m_mode->setCurrentIndex(duplicates ? 0 : 1);
  }
  m_mode->setEnabled(m_button == ScanButton::kScan);
}

void TDXMainWindow::UpdateAllActions() {
  if (!m_folders || !m_actionMenu) return;
  UpdateActions();
  SetTip(m_save, m_documents->OpenedFile().empty()
                     ? tr("Write the results to a file")
                     : tr("Write the results to “%1”").arg(ShownPath(m_documents->OpenedFile())));
  if (CResultsView* view = PresentView())
    view->UpdateActions();
  else
    m_folders->UpdateActions();
}

void TDXMainWindow::UpdateSummary(ResultsTab tab, const QString& text) {
  m_summaries[Index(tab)] = text;
  if (tab == PresentTab()) ShowSummary();
}

void TDXMainWindow::ShowSummary() {
  QStringList parts{m_summaries[Index(PresentTab())], m_leftOut};
  parts.removeAll({});
  m_status->SetSummary(parts.join("; "));
}

void TDXMainWindow::Scan(void (TDXAppDelegate::*function)()) {
  if (m_delegate->IsIdle() && !LookForFolders()) return;
  (m_delegate.get()->*function)();
}

bool TDXMainWindow::LookForFolders() {
  const std::vector<std::string> away = m_folders->LookNow();
  for (const std::string& path : away) CLogLine().Append("Folder is away: ").Append(path);
  m_leftOut = away.empty()       ? QString()
              : away.size() == 1 ? tr("Left out “%1”, which is away").arg(ShownPath(away.front()))
                                 : tr("Left out %L1 folders that are away").arg(away.size());
  ShowSummary();
  if (away.empty() || !UnloadList().empty()) return true;
  ShowAlert(tr("Nothing to scan").toStdString(),
            tr("None of the folders in the list is there, or can be read. Plug in their disk, or "
               "add other folders.")
                .toStdString());
  return false;
}

void TDXMainWindow::ShowPreferences() {
  if (!m_preferences) {
    m_preferences = new TDXPreferencesWindow(*m_delegate, this);
    m_preferences->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_preferences, &TDXPreferencesWindow::Closed, this,
            [this] { m_delegate->ReloadConfig(); });
  }
  m_preferences->show();
  m_preferences->raise();
  m_preferences->activateWindow();
}

bool TDXMainWindow::PlayFile(const std::string& path) {
  if (!CConfiguration::Instance().GetBool("useInternalPlayer", true)) return false;
  if (!m_player)
    m_player = new TDXPlayerWindow(std::make_unique<CCubebOutput>(), m_delegate->Queue());
  m_player->OpenWithFile(path);
  return true;
}

void TDXMainWindow::ShowHelp() {
  m_helpWindow = m_helpWindow ? m_helpWindow : new CHelpWindow(this);
  m_helpWindow->show();
  m_helpWindow->raise();
  m_helpWindow->activateWindow();
}

void TDXMainWindow::ShowAbout() {
  QMessageBox::about(
      this, tr("About Quillmarsh"),
      tr("<h3>Quillmarsh %1</h3><p>Finds duplicate and near-duplicate audio and image files, and "
         "rates the quality of audio files.</p><p>Free software under the GNU General Public "
         "License, version 3 or later.</p>")
          .arg(QUILLMARSH_VERSION));
}

void TDXMainWindow::SaveLayout() {
  SaveBytes(kGeometryKey, saveGeometry());
  CConfiguration::Instance().SetInteger(kTabKey, m_tabs->currentIndex());
  SaveBytes(kFoldersLayoutKey, m_folders->SaveLayout());
  for (const CResultsView* view : m_views)
    if (view) SaveBytes(kColumnsKeys[Index(view->Tab())], view->SaveColumns());
}

void TDXMainWindow::RestoreLayout() {
  restoreGeometry(LoadBytes(kGeometryKey));
  m_folders->RestoreLayout(LoadBytes(kFoldersLayoutKey));
  for (CResultsView* view : m_views)
    if (view) view->RestoreColumns(LoadBytes(kColumnsKeys[Index(view->Tab())]));
  const int32_t tab = CConfiguration::Instance().GetInteger(kTabKey, 0);
  if (tab >= 0 && tab < static_cast<int32_t>(std::size(kTabs))) SwitchView(kTabs[tab]);
}

}  // namespace quill
