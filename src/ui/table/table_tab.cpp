// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/table_tab.h"

#include <QAction>
#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequence>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QUrl>

#include "platform/desktop_services.h"
#include "results/file_operations.h"
#include "ui/inspection/spectrum_window.h"
#include "ui/table/results_model.h"
#include "ui/table/table_view.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/path_text.h"

namespace quill {

CTableTab::CTableTab(TDXAppDelegate& delegate, CFileOperations& files, QWidget* parent)
    : CResultsView(parent), m_delegate(delegate), m_files(files) {}

CTableTab::~CTableTab() {
  // The table reads the model until it is gone.
  delete m_table;
}

void CTableTab::SetTable(CResultsModel* model, std::unique_ptr<CTableActions> actions) {
  model->setParent(this);
  m_model = model;
  m_actions = std::move(actions);
  m_table = new TDXTableView(*model, this);
  m_table->SetHint([this] { return EmptyText(); });
  m_table->setFrameShape(QFrame::NoFrame);
  setFocusProxy(m_table);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(m_table);
  connect(m_table, &TDXTableView::MarkRequested, this, &CTableTab::ActionMark);
  connect(m_table, &TDXTableView::OpenRequested, this, &CTableTab::OpenRow);
  connect(m_table, &TDXTableView::SelectedCountChanged, this, [this] {
    UpdateActions();
    UpdateSummary();
  });
}

QString CTableTab::EmptyText() const {
  // A window that is being closed may be drawn once more after the end of the pool.
  if (!m_delegate.GetWorkers()) return {};
  const ScanReport& report = m_delegate.Report(Tab());
  const EmptyTexts texts = Empty();
  switch (report.state) {
    case ScanState::kNone:
      return m_delegate.IsIdle() ? texts.before + ' ' + WhatToDo(texts.mode) : texts.other;
    case ScanState::kRunning:
      return m_delegate.GetWorkers()->IsRunning()
                 ? texts.busy
                 : tr("The scan is paused. Press Continue to go on with it.");
    case ScanState::kStopping:
      return tr("The scan is being stopped.");
    default:
      break;
  }
  if (report.found) return texts.left;
  if (report.state == ScanState::kStopped) return texts.stopped;
  if (report.state == ScanState::kOpened) return texts.opened;
  if (report.files == 0) return texts.noFiles;
  return report.files == 1 ? texts.oneFile : texts.nothing.arg(report.files);
}

QString CTableTab::WhatToDo(ScanMode mode) const {
  const bool chosen = m_delegate.Mode() == mode;
  if (m_delegate.CanBegin())
    return chosen                          ? tr("Press Scan.")
           : mode == ScanMode::kDuplicates ? tr("Choose the mode Duplicates and press Scan.")
                                           : tr("Choose the mode Analyse and press Scan.");
  return chosen ? tr("Add folders in the first tab and press Scan.")
         : mode == ScanMode::kDuplicates
             ? tr("Add folders in the first tab, choose the mode Duplicates and press Scan.")
             : tr("Add folders in the first tab, choose the mode Analyse and press Scan.");
}

QTableView* CTableTab::ResultsTable() const {
  return m_table;
}

void CTableTab::ReloadView() {
  m_table->ReloadRows();
  UpdateActions();
  UpdateSummary();
}

void CTableTab::Changed() {
  m_delegate.ResultsChanged(Tab());
}

QList<QPair<QString, QString>> CTableTab::TableFormats() {
  return {{"csv", "Comma-separated values CSV"}, {"html", "HyperText Markup Language HTML"}};
}

std::vector<int32_t> CTableTab::SelectedRows() const {
  return m_table->SelectedRows();
}

QByteArray CTableTab::SaveColumns() const {
  return m_table->SaveColumns();
}

void CTableTab::RestoreColumns(const QByteArray& state) {
  m_table->RestoreColumns(state);
}

// ---- the menu

QAction* CTableTab::AddAction(const char* icon, const QString& text, const QString& toolTip,
                              const QKeySequence& shortcut, Needs needs,
                              std::function<void()> run) {
  auto* action = new QAction(Icon(QString::fromLatin1(icon)), text, this);
  action->setToolTip(toolTip);
  action->setStatusTip(toolTip);
  // A key works while the table has the focus: the other tabs have the same keys.
  action->setShortcut(shortcut);
  action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
  connect(action, &QAction::triggered, this, std::move(run));
  m_menu.append(action);
  m_entries.push_back({action, needs});
  return action;
}

void CTableTab::AddSeparator() {
  auto* separator = new QAction(this);
  separator->setSeparator(true);
  m_menu.append(separator);
}

void CTableTab::AddFileActions(const QString& open, const QString& openToolTip) {
  AddAction("open-file", open, openToolTip, Qt::Key_Return, Needs::kSelection, [this] {
    OpenRow(m_table->LeadingRow());
  })->setShortcuts({Qt::Key_Return, Qt::Key_Enter});
  AddAction("system-file-manager", tr("Show in &File Manager"),
            tr("Open the folder of the file and select the file there"), Qt::CTRL | Qt::Key_Return,
            Needs::kSelection,
            [this] { ShowInFileManager({m_model->PathAt(m_table->LeadingRow())}); });
  AddAction("edit-copy", tr("&Copy Paths"), tr("Copy the paths of the selected files"),
            QKeySequence::Copy, Needs::kSelection, [this] { CopyPaths(); });
}

void CTableTab::AddSpectrumActions() {
  AddAction("spectrogram", tr("Sp&ectrogram"),
            tr("Show how loud each frequency of the file is, on average and at most"),
            Qt::CTRL | Qt::Key_G, Needs::kSelection, [this] {
              (new TDXSpectrogramWindow(m_model->PathAt(m_table->LeadingRow()), m_delegate.Queue(),
                                        window()))
                  ->show();
            });
  AddAction("sonogram", tr("So&nogram"), tr("Show the frequencies of the file over its time"),
            Qt::CTRL | Qt::SHIFT | Qt::Key_G, Needs::kSelection, [this] {
              (new TDXSonogramWindow(m_model->PathAt(m_table->LeadingRow()), m_delegate.Queue(),
                                     window()))
                  ->show();
            });
}

void CTableTab::AddMarkActions() {
  AddAction("mark", tr("&Mark or Unmark"), tr("Mark the selected files, or take their marks off"),
            Qt::Key_Space, Needs::kSelection, [this] { ActionMark(); });
  AddAction("unmark-all", tr("&Unmark All"), tr("Take the marks off all files"),
            Qt::CTRL | Qt::Key_U, Needs::kMarked, [this] {
              m_actions->UnmarkAll();
              Changed();
            });
  AddAction("invert-marked", tr("In&vert Marks"),
            tr("Mark the files that are not marked, and take the marks off the others"),
            Qt::CTRL | Qt::SHIFT | Qt::Key_M, Needs::kRows, [this] {
              m_actions->InvertMarked();
              Changed();
            });
}

void CTableTab::AddRemovalActions() {
  const auto trash = [this](std::vector<std::string>* paths) {
    return m_files.Delete(paths, m_actions->CountWholeGroups(*paths));
  };
  const auto move = [this](std::vector<std::string>* paths) { return m_files.Move(paths); };
  const auto selected = [this](const FilesCallback& callback) {
    if (m_actions->ActOnRows(SelectedRows(), callback)) Changed();
  };
  const auto marked = [this](const FilesCallback& callback) {
    if (m_actions->ActOnMarked(callback)) Changed();
  };
  AddAction("ignore", tr("&Ignore"),
            tr("Take the selected rows out of the results, and leave them out of later scans too"),
            Qt::CTRL | Qt::Key_I, Needs::kSelection, [this] {
              m_actions->IgnoreRows(SelectedRows());
              Changed();
            });
  AddAction("ignore", tr("I&gnore Marked"),
            tr("Take the marked files out of the results, and leave them out of later scans too"),
            {}, Needs::kMarked, [this] {
              m_actions->IgnoreMarked();
              Changed();
            });
  AddSeparator();
  AddAction("user-trash", tr("Move to &Trash"), tr("Move the selected files to the trash"),
            QKeySequence(Qt::Key_Delete), Needs::kSelection, [=] { selected(trash); });
  AddAction("user-trash", tr("Move Marked to T&rash"), tr("Move the marked files to the trash"),
            Qt::CTRL | Qt::Key_Delete, Needs::kMarked, [=] { marked(trash); });
  AddAction("move-to-folder", tr("Move to F&older…"), tr("Move the selected files to a folder"),
            Qt::Key_F6, Needs::kSelection, [=] { selected(move); });
  AddAction("move-to-folder", tr("Move Marked to Fo&lder…"),
            tr("Move the marked files to a folder"), Qt::SHIFT | Qt::Key_F6, Needs::kMarked,
            [=] { marked(move); });
}

void CTableTab::EndMenu() {
  AddSeparator();
  AddAction("edit-clear-all", tr("Clear &Results"),
            tr("Forget all rows of this table; no file is touched"), {}, Needs::kRows,
            [this] { ActionClear(); });
  auto* columns = new QMenu(this);
  columns->setToolTipsVisible(true);
  columns->addActions(m_table->ColumnActions());
  QAction* action = columns->menuAction();
  action->setText(tr("Colum&ns"));
  action->setIcon(Icon(QStringLiteral("columns")));
  m_menu.append(action);

  m_table->addActions(m_menu);
  m_table->setContextMenuPolicy(Qt::ActionsContextMenu);
  UpdateActions();
}

void CTableTab::UpdateActions() {
  const bool rows = m_model->rowCount() > 0;
  const size_t selected = m_table->SelectedCount();
  for (const Entry& entry : m_entries) {
    const auto enabled = [&] {
      switch (entry.needs) {
        case Needs::kRows:
          return rows;
        case Needs::kSelection:
          return selected > 0;
        case Needs::kMarked:
          return m_model->MarkedCount() > 0;
        case Needs::kOwnTest:
          break;
      }
      return IsEnabled(entry.action);
    };
    entry.action->setEnabled(enabled());
  }
  if (!rows) m_table->viewport()->update();  // the hint depends on whether a scan runs
}

void CTableTab::UpdateSummary() {
  QStringList parts;
  if (m_model->rowCount()) parts.append(m_model->ContentsText());
  if (const size_t selected = m_table->SelectedCount()) {
    parts.append(tr("%L1 selected").arg(selected));
  }
  if (const uint32_t marked = m_model->MarkedCount()) {
    parts.append(tr("%L1 marked").arg(marked));
  }
  emit SummaryChanged(parts.join(QStringLiteral(", ")));
}

// ---- actions

void CTableTab::ActionClear() {
  m_actions->Clear();
  Changed();
}

void CTableTab::ActionMark() {
  m_actions->MarkRows(SelectedRows());
  Changed();
}

void CTableTab::OpenRow(int32_t row) {
  const std::string path = m_model->PathAt(row);
  if (path.empty() || (m_open && m_open(path)) || OpenWithDesktop(path)) return;
  const QString shown = ShownPath(path);
  QMessageBox::warning(this, tr("Open"),
                       QFileInfo::exists(shown)
                           ? tr("No program opened the file “%1”.").arg(shown)
                           : tr("The file “%1” is not there any more.").arg(shown));
}

void CTableTab::CopyPaths() {
  QStringList paths;
  QList<QUrl> urls;
  for (const int32_t row : SelectedRows()) {
    const std::string path = m_model->PathAt(row);
    paths.append(ShownPath(path));
    urls.append(QUrl::fromEncoded(QByteArray::fromStdString(FileUrl(path))));
  }
  auto* copied = new QMimeData;
  copied->setText(paths.join(QLatin1Char('\n')));
  copied->setUrls(urls);
  QGuiApplication::clipboard()->setMimeData(copied);
}

}  // namespace quill
