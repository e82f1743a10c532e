// What the main window is made of: its actions, menus and toolbar.
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QComboBox>
#include <QMenuBar>
#include <QSizePolicy>
#include <QToolBar>

#include "ui/documents.h"
#include "ui/folders_view.h"
#include "ui/icons.h"
#include "ui/main_window.h"
#include "ui/results_view.h"

namespace quill {

QAction* TDXMainWindow::MakeAction(const char* icon, const QString& text, const QString& tip,
                                   const QKeySequence& shortcut) {
  auto* action = new QAction(Icon(icon), text, this);
  action->setToolTip(tip);
  action->setStatusTip(tip);
  action->setShortcut(shortcut);
  return action;
}

void TDXMainWindow::MakeActions() {
  m_open = MakeAction("document-open", tr("&Open Results…"), tr("Show the results of a saved file"),
                      QKeySequence::Open);
  m_save = MakeAction("document-save", tr("&Save Results"),
                      tr("Write the results to the file they were last opened from or saved to"),
                      QKeySequence::Save);
  m_saveAs = MakeAction("document-save-as", tr("Save Results &As…"),
                        tr("Write the results to a file of your choice"),
                        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
  m_export = MakeAction("document-export", tr("&Export…"),
                        tr("Write this table to a text file for other programs"),
                        QKeySequence(Qt::CTRL | Qt::Key_E));
  m_quit = MakeAction("application-exit", tr("&Quit"),
                      tr("End the program; the next start goes on where this one ends"),
                      QKeySequence(Qt::CTRL | Qt::Key_Q));
  m_configure = MakeAction("configure", tr("&Preferences…"), tr("Change the settings"),
                           QKeySequence(Qt::CTRL | Qt::Key_Comma));
  m_start = MakeAction("scan-start", QString(), QString(), QKeySequence(Qt::Key_F5));
  m_stop = MakeAction("scan-stop", tr("Stop"), tr("End the scan; what was found stays"),
                      QKeySequence(Qt::SHIFT | Qt::Key_F5));
  m_findDuplicates =
      MakeAction("find-duplicates", tr("Find &Duplicates"),
                 tr("Compare all files in the chosen folders"), QKeySequence(Qt::CTRL | Qt::Key_D));
  m_analyse = MakeAction("tab-analysis", tr("Analyse &Quality"),
                         tr("Rate every audio file in the chosen folders"),
                         QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_D));
  m_modeDuplicates = new QAction(tr("Duplicates"), this);
  m_modeAnalyse = new QAction(tr("Analyse"), this);
  auto* modes = new QActionGroup(this);
  for (QAction* mode : {m_modeDuplicates, m_modeAnalyse}) {
    mode->setCheckable(true);
    modes->addAction(mode);
  }
  m_about = MakeAction("help-about", tr("&About Quillmarsh"), tr("Version and licence"));

  struct Tab {
    const char* icon;
    QString text, tip;
  };
  const Tab tabs[] = {
      {"tab-folders", tr("Folders"), tr("Choose the folders to scan")},
      {"tab-audio", tr("Audio"), tr("Audio files that are alike")},
      {"tab-images", tr("Images"), tr("Pictures that are alike")},
      {"tab-analysis", tr("Quality"), tr("Measured quality of audio files")},
  };
  m_tabActions = new QActionGroup(this);
  for (const Tab& tab : tabs) {
    const auto number = static_cast<int>(m_tabActions->actions().size());
    QAction* action = MakeAction(tab.icon, tab.text, tab.tip,
                                 QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + number)));
    action->setCheckable(true);
    m_tabActions->addAction(action);
    connect(action, &QAction::triggered, this,
            [this, number] { SwitchView(static_cast<ResultsTab>(number)); });
  }

  connect(m_open, &QAction::triggered, this, [this] {
    m_documents->FileOpen();
    UpdateActions();
  });
  connect(m_save, &QAction::triggered, this, [this] { m_documents->FileSave(); });
  connect(m_saveAs, &QAction::triggered, this, [this] {
    m_documents->FileSaveAs();
    UpdateActions();
  });
  connect(m_export, &QAction::triggered, this, [this] {
    if (CResultsView* view = PresentView()) m_documents->FileExport(*view);
  });
  connect(m_quit, &QAction::triggered, this, [this] { close(); });
  connect(m_configure, &QAction::triggered, this, [this] { ShowPreferences(); });
  connect(m_start, &QAction::triggered, this, [this] { m_delegate->StartScan(); });
  connect(m_stop, &QAction::triggered, this, [this] { m_delegate->StopScan(); });
  connect(m_findDuplicates, &QAction::triggered, this, [this] { m_delegate->StartMenuScan(); });
  connect(m_analyse, &QAction::triggered, this, [this] { m_delegate->StartMenuAnalyse(); });
  connect(m_modeDuplicates, &QAction::triggered, this, [this] {
    m_delegate->SetModeScan();
    UpdateActions();
  });
  connect(m_modeAnalyse, &QAction::triggered, this, [this] {
    m_delegate->SetModeAnalyse();
    UpdateActions();
  });
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
  edit->addAction(m_configure);
  m_actionMenu = menuBar()->addMenu(tr("&Action"));
  QMenu* view = menuBar()->addMenu(tr("&View"));
  view->addActions(m_tabActions->actions());
  QMenu* scan = menuBar()->addMenu(tr("&Scan"));
  scan->addActions({m_start, m_stop});
  scan->addSeparator();
  scan->addActions({m_findDuplicates, m_analyse});
  scan->addSeparator();
  scan->addActions({m_modeDuplicates, m_modeAnalyse});
  QMenu* help = menuBar()->addMenu(tr("&Help"));
  help->addAction(m_about);
  // What a menu offers is looked at again when it opens.
  for (const QMenu* menu : {file, m_actionMenu, scan})
    connect(menu, &QMenu::aboutToShow, this, [this] { UpdateActions(); });
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
}

}  // namespace quill
