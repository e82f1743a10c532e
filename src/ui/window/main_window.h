// SPDX-License-Identifier: GPL-3.0-or-later
// The main window: toolbar with the four tabs and the scan controls, menus, the tabs themselves and
// the status bar. The front end of TDXAppDelegate, which it owns. It holds no scanning logic: what
// the buttons do is the delegate's. Main thread.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "app/app_delegate.h"
#include "app/front_end.h"
#include "platform/disk_file_service.h"
#include "results/file_operations.h"
#include "ui/window/file_questions.h"

class QAction;
class QActionGroup;
class QComboBox;
class QMenu;
class QStackedWidget;

namespace quill {

class CDocuments;
class CHelpWindow;
class CResultsView;
class TDXFoldersView;
class TDXPlayerWindow;
class TDXPreferencesWindow;
class TDXStatusView;

class TDXMainWindow : public QMainWindow, private CFrontEnd {
  Q_OBJECT

 public:
  // The configuration must have its store and folders; `queue` must outlive the window.
  explicit TDXMainWindow(CMainQueue& queue);
  // Ends the scan in the orderly way, so that the next start goes on with it.
  ~TDXMainWindow() override;

  // Loads the window's state and the folder list, creates the threads and goes on where the last
  // run ended. Then takes the paths: folders go into the list, a results file is shown as by the
  // user's open, and anything else is told in one message.
  void Start(const std::vector<std::string>& given);
  // To the front, as after a second start of the program, with what that one was given. While a
  // dialog is open, the paths wait for its end.
  void BringForward(const std::vector<std::string>& given);

  [[nodiscard]] TDXAppDelegate& Delegate() { return *m_delegate; }

 protected:
  void closeEvent(QCloseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  // CFrontEnd
  [[nodiscard]] bool HasSelection() const override;
  [[nodiscard]] std::vector<TDXSelectedFolder> UnloadList() override;
  void SetTimer(bool on) override;
  void ShowThreads(ScanButton button) override;
  void ShowProgress(const ProgressDisplay& progress) override;
  void ReloadView(ResultsTab tab) override;
  void ShowBadge(uint32_t count) override;
  [[nodiscard]] bool IsActive() const override;
  void RequestAttention() override;
  void ShowAlert(const std::string& title, const std::string& text) override;

  // ---- making (main_window_parts.cpp)
  // An action with its icon, shortcut and the sentence that its tooltip says; `name` is for who
  // looks for it from outside.
  QAction* MakeAction(const char* name, const char* icon, const QString& text, const QString& tip,
                      const QKeySequence& shortcut = {});
  // The sentence and the keys.
  static void SetTip(QAction* action, const QString& tip);
  void MakeActions();
  void ConnectActions();
  void MakeMenus();
  void MakeToolbar();

  void SwitchView(ResultsTab tab);
  [[nodiscard]] ResultsTab PresentTab() const;
  // Null for the folder tab.
  [[nodiscard]] CResultsView* PresentView() const;
  // Enables, ticks and names the window's own actions by the state of the delegate.
  void UpdateActions();
  // The same, and those of the present tab.
  void UpdateAllActions();
  void UpdateButton(ScanButton button);
  // Second half of the start, when the window is to be seen.
  void Restore();
  void TellTroubles();
  // Remembers paths that came from outside, and deals with all of them when no dialog is open.
  void Give(const std::vector<std::string>& paths);
  void TakeGiven();
  void UpdateSummary(ResultsTab tab, const QString& text);
  void ShowSummary();
  // Begins, holds or continues a scan by the delegate's function. A new one leaves out the folders
  // that are away, and says so.
  void Scan(void (TDXAppDelegate::*function)());
  // False after a message when there is none to scan.
  [[nodiscard]] bool LookForFolders();
  void ShowPreferences();
  // False when the desktop's program is to play it.
  bool PlayFile(const std::string& path);
  void ShowHelp();
  void ShowAbout();
  void SaveLayout();
  void RestoreLayout();

  CDiskFileService m_disk;
  CWindowQuestions m_questions;
  CFileOperations m_files;
  std::unique_ptr<TDXAppDelegate> m_delegate;
  std::unique_ptr<CDocuments> m_documents;
  QTimer m_timer;
  QTimer m_restore;
  std::vector<std::string> m_given;  // paths that wait for the restore or the end of a dialog

  QStackedWidget* m_tabs = nullptr;
  TDXFoldersView* m_folders = nullptr;
  std::array<CResultsView*, 4> m_views{};  // by ResultsTab; the first stays null
  std::array<QString, 4> m_summaries;      // what each tab has to say for the status bar
  QString m_leftOut;  // what the last scan had to leave out; behind the summary
  TDXStatusView* m_status = nullptr;
  QPointer<TDXPreferencesWindow> m_preferences;
  QPointer<TDXPlayerWindow> m_player;   // once a file was played
  CHelpWindow* m_helpWindow = nullptr;  // once it was asked for

  QActionGroup* m_tabActions = nullptr;
  QMenu* m_actionMenu = nullptr;
  QComboBox* m_mode = nullptr;
  QAction* m_open = nullptr;
  QAction* m_save = nullptr;
  QAction* m_saveAs = nullptr;
  QAction* m_export = nullptr;
  QAction* m_quit = nullptr;
  QAction* m_configure = nullptr;
  QAction* m_start = nullptr;
  QAction* m_stop = nullptr;
  QAction* m_findDuplicates = nullptr;
  QAction* m_analyse = nullptr;
  QAction* m_modeDuplicates = nullptr;
  QAction* m_modeAnalyse = nullptr;
  QAction* m_selectAll = nullptr;
  QAction* m_help = nullptr;
  QAction* m_checkUpdates = nullptr;
  QAction* m_about = nullptr;
  ScanButton m_button = ScanButton::kScan;
};

}  // namespace quill
