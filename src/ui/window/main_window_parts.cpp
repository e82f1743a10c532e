// SPDX-License-Identifier: GPL-3.0-or-later
// What the main window is made of: its actions, menus and toolbar.
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QComboBox>
#include <QMenuBar>
#include <QSizePolicy>
#include <QTableView>
#include <QToolBar>
#include <algorithm>

#include "ui/folders/folders_view.h"
#include "ui/table/results_view.h"
#include "ui/widgets/icons.h"
#include "ui/window/documents.h"
#include "ui/window/main_window.h"
#include "ui/window/update_checker.h"
#include "ui/window/update_window.h"

namespace quill {

void TDXMainWindow::SetTip(QAction* action, const QString& tip) {
  const QString keys = action->shortcut().toString(QKeySequence::NativeText);
  action->setToolTip(keys.isEmpty() ? tip : QString("%1 (%2)").arg(tip, keys));
}

QAction* TDXMainWindow::MakeAction(const char* name, const char* icon, const QString& text,
                                   const QString& tip, const QKeySequence& shortcut) {
  auto* action = new QAction(Icon(icon), text, this);
  action->setObjectName(name);
  action->setShortcut(shortcut);
  SetTip(action, tip);
  return action;
}

void TDXMainWindow::MakeActions() {
  m_open = MakeAction("open", "document-open", tr("&Open Results…"),
                      tr("Show the results of a saved file"), QKeySequence::Open);
  m_save = MakeAction("save", "document-save", tr("&Save Results"), QString(), QKeySequence::Save);
  m_saveAs = MakeAction("saveAs", "document-save-as", tr("Save Results &As…"),
                        tr("Write the results to a file of your choice"),
                        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
  m_export = MakeAction("export", "document-export", tr("&Export…"),
                        tr("Write this table to a text file for other programs"),
                        QKeySequence(Qt::CTRL | Qt::Key_E));
  m_quit = MakeAction("quit", "application-exit", tr("&Quit"),
                      tr("End the program; the next start goes on where this one ends"),
                      QKeySequence(Qt::CTRL | Qt::Key_Q));
  m_selectAll = MakeAction("selectAll", "edit-select-all", tr("Select &All"),
                           tr("Select all rows of the table"), QKeySequence::SelectAll);
  m_configure = MakeAction("preferences", "configure", tr("&Preferences…"),
                           tr("Change the settings"), QKeySequence(Qt::CTRL | Qt::Key_Comma));
  m_start = MakeAction("scan", "scan-start", QString(), QString(), QKeySequence(Qt::Key_F5));
  UpdateButton(ScanButton::kScan);
  m_stop = MakeAction("stop", "scan-stop", tr("S&top"), tr("End the scan; what was found stays"),
                      QKeySequence(Qt::SHIFT | Qt::Key_F5));
  m_findDuplicates =
      MakeAction("findDuplicates", "find-duplicates", tr("Find &Duplicates"),
                 tr("Compare all files in the chosen folders"), QKeySequence(Qt::CTRL | Qt::Key_D));
  m_analyse = MakeAction("analyse", "tab-analysis", tr("Analyse &Quality"),
                         tr("Rate every audio file in the chosen folders"),
                         QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_D));
  m_modeDuplicates = MakeAction("modeDuplicates", "find-duplicates", tr("&Duplicates"),
                                tr("The scan button finds duplicates"));
  m_modeAnalyse = MakeAction("modeAnalyse", "tab-analysis", tr("&Analyse"),
                             tr("The scan button rates audio files"));
  auto* modes = new QActionGroup(this);
  for (QAction* mode : {m_modeDuplicates, m_modeAnalyse}) {
    mode->setCheckable(true);
    modes->addAction(mode);
  }
  m_help = MakeAction("help", "help-contents", tr("Quillmarsh &Help"),
                      tr("What the scores mean, and how everything is used"),
                      QKeySequence::HelpContents);
  m_checkUpdates = MakeAction("checkUpdates", "check-updates", tr("Check for &Updates…"),
                              tr("Ask the update server whether a newer version exists"));
  m_about = MakeAction("about", "help-about", tr("&About Quillmarsh"), tr("Version and licence"));

  struct Tab {
    const char* name;
    const char* icon;
    QString text, tip;
  };
  const Tab tabs[] = {
      {"tabFolders", "tab-folders", tr("&Folders"), tr("Choose the folders to scan")},
      {"tabAudio", "tab-audio", tr("&Audio"), tr("Audio files that are alike")},
      {"tabImages", "tab-images", tr("&Images"), tr("Pictures that are alike")},
      {"tabAnalysis", "tab-analysis", tr("&Quality"), tr("Measured quality of audio files")},
  };
  m_tabActions = new QActionGroup(this);
  for (const Tab& tab : tabs) {
    const auto number = static_cast<int>(m_tabActions->actions().size());
    QAction* action = MakeAction(tab.name, tab.icon, tab.text, tab.tip,
                                 QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + number)));
    action->setCheckable(true);
    m_tabActions->addAction(action);
    connect(action, &QAction::triggered, this,
            [this, number] { SwitchView(static_cast<ResultsTab>(number)); });
  }
  ConnectActions();
}

void TDXMainWindow::ConnectActions() {
  connect(m_open, &QAction::triggered, this, [this] {
    m_documents->FileOpen();
    UpdateAllActions();
  });
  connect(m_save, &QAction::triggered, this, [this] {
    m_documents->FileSave();
    UpdateAllActions();
  });
  connect(m_saveAs, &QAction::triggered, this, [this] {
    m_documents->FileSaveAs();
    UpdateAllActions();
  });
  connect(m_export, &QAction::triggered, this, [this] {
    if (CResultsView* view = PresentView()) m_documents->FileExport(*view);
  });
  connect(m_quit, &QAction::triggered, this, [this] { close(); });
  connect(m_selectAll, &QAction::triggered, this, [this] {
    if (CResultsView* view = PresentView()) view->ResultsTable()->selectAll();
  });
  connect(m_configure, &QAction::triggered, this, [this] { ShowPreferences(); });
  connect(m_start, &QAction::triggered, this, [this] { Scan(&TDXAppDelegate::StartScan); });
  connect(m_stop, &QAction::triggered, this, [this] { m_delegate->StopScan(); });
  connect(m_findDuplicates, &QAction::triggered, this,
          [this] { Scan(&TDXAppDelegate::StartMenuScan); });
  connect(m_analyse, &QAction::triggered, this,
          [this] { Scan(&TDXAppDelegate::StartMenuAnalyse); });
  connect(m_modeDuplicates, &QAction::triggered, this, [this] {
    m_delegate->SetModeScan();
    UpdateActions();
  });
  connect(m_modeAnalyse, &QAction::triggered, this, [this] {
    m_delegate->SetModeAnalyse();
    UpdateActions();
  });
  connect(m_help, &QAction::triggered, this, [this] { ShowHelp(); });
  connect(m_checkUpdates, &QAction::triggered, this,
          [this] { TDXUpdateWindow::CheckUpdateModal(true, this); });
  connect(m_about, &QAction::triggered, this, [this] { ShowAbout(); });
}

void TDXMainWindow::MakeMenus() {
  QMenu* file = menuBar()->addMenu(tr("&File"));
  file->addAction(m_folders->AddAction());
  file->addSeparator();
  file->addActions({m_open, m_save, m_saveAs, m_export});
  file->addSeparator();
  file->addAction(m_quit);
  QMenu* edit = menuBar()->addMenu(tr("&Edit"));
  edit->addAction(m_selectAll);
  edit->addSeparator();
  edit->addAction(m_configure);
  QMenu* view = menuBar()->addMenu(tr("&View"));
  view->addActions(m_tabActions->actions());
  QMenu* scan = menuBar()->addMenu(tr("&Scan"));
  scan->addActions({m_start, m_stop});
  scan->addSeparator();
  scan->addActions({m_findDuplicates, m_analyse});
  scan->addSeparator();
  QMenu* mode = scan->addMenu(Icon("find-duplicates"), tr("&Mode"));
  mode->addActions({m_modeDuplicates, m_modeAnalyse});
  m_actionMenu = menuBar()->addMenu(tr("&Action"));
  QMenu* help = menuBar()->addMenu(tr("&Help"));
  help->addAction(m_help);
  // Without an address there is nobody to ask.
  if (TDXUpdateChecker::IsConfigured()) help->addAction(m_checkUpdates);
  help->addSeparator();
  help->addAction(m_about);
  for (QMenu* menu : {file, edit, view, scan, mode, m_actionMenu, help})
    menu->setToolTipsVisible(true);
  // What a menu offers is looked at again when it opens.
  for (const QMenu* menu : {file, m_actionMenu, scan})
    connect(menu, &QMenu::aboutToShow, this, [this] { UpdateAllActions(); });
}

void TDXMainWindow::MakeToolbar() {
  auto* bar = new QToolBar(tr("Toolbar"));
  bar->setMovable(false);
  bar->setContextMenuPolicy(Qt::PreventContextMenu);
  bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  bar->addActions(m_tabActions->actions());
  auto* space = new QWidget;
  space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  bar->addWidget(space);
  m_mode = new QComboBox;
  m_mode->addItems({tr("Duplicates"), tr("Analyse")});
  m_mode->setToolTip(tr("What a scan does: find duplicates, or rate audio files"));
  m_mode->setAccessibleName(tr("Scan mode"));
  connect(m_mode, &QComboBox::activated, this, [this](int index) {
    if (index == 0)
      m_delegate->SetModeScan();
    else
      m_delegate->SetModeAnalyse();
    UpdateActions();
  });
  bar->addWidget(m_mode);
  bar->addActions({m_start, m_stop});
  addToolBar(bar);

  // As wide as its widest text, so that nothing beside it moves.
  QWidget* button = bar->widgetForAction(m_start);
  int width = 0;
  for (const ScanButton state : {ScanButton::kPause, ScanButton::kContinue, ScanButton::kScan}) {
    UpdateButton(state);
    width = std::max(width, button->sizeHint().width());
  }
  button->setMinimumWidth(width);
}

}  // namespace quill
