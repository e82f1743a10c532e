// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/folders/folders_view.h"

#include <QAction>
#include <QActionGroup>
#include <QDataStream>
#include <QDesktopServices>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPersistentModelIndex>
#include <QSplitter>
#include <QToolButton>
#include <QTreeView>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>

#include "app/app_delegate.h"
#include "core/configuration.h"
#include "ui/folders/file_list_model.h"
#include "ui/folders/folder_chooser.h"
#include "ui/folders/folder_listing.h"
#include "ui/folders/folder_tree_model.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/path_text.h"

namespace quill {
namespace {

constexpr const char* kSettingKey = "selectedBookmarks";
constexpr qint32 kLayoutVersion = 1;

// Grey words in the middle of an empty view.
QLabel* MakeTip(QAbstractItemView* view, const QString& text) {
  auto* const tip = new QLabel(text);
  tip->setAlignment(Qt::AlignCenter);
  tip->setWordWrap(true);
  tip->setForegroundRole(QPalette::PlaceholderText);
  tip->setAttribute(Qt::WA_TransparentForMouseEvents);
  auto* const layout = new QVBoxLayout(view->viewport());
  layout->addWidget(tip);
  return tip;
}

QTreeView* MakeView(QAbstractItemModel* model, const QString& name) {
  auto* const view = new QTreeView;
  view->setModel(model);
  view->setAccessibleName(name);
  view->setUniformRowHeights(true);
  view->setSelectionMode(QAbstractItemView::ExtendedSelection);
  view->setTextElideMode(Qt::ElideMiddle);
  view->setContextMenuPolicy(Qt::CustomContextMenu);
  view->header()->setStretchLastSection(false);
  view->header()->setSectionsMovable(false);
  view->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  return view;
}

QToolButton* MakeButton(QAction* action) {
  auto* const button = new QToolButton;
  button->setDefaultAction(action);
  button->setFocusPolicy(Qt::TabFocus);
  return button;
}

}  // namespace

TDXFoldersView::TDXFoldersView(TDXAppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_lister(std::make_unique<CFolderLister>()) {
  m_foldersTree = new CFolderTreeModel(*m_lister, this);
  m_filesList = new CFileListModel(this);
  MakeActions();
  m_splitter = new QSplitter;
  m_splitter->addWidget(MakeFoldersPane());
  m_splitter->addWidget(MakeFilesPane());
  m_splitter->setChildrenCollapsible(false);
  m_splitter->setStretchFactor(0, 2);
  m_splitter->setStretchFactor(1, 3);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(m_splitter);
  setFocusProxy(m_foldersView);

  connect(m_foldersTree, &CFolderTreeModel::ListChanged, this, [this] {
    UpdateHints();
    UpdateActions();
    emit ListChanged();
  });
  connect(m_foldersTree, &CFolderTreeModel::AwayChanged, this, &TDXFoldersView::AwayChanged);
  connect(m_foldersView, &QTreeView::expanded, m_foldersTree, &CFolderTreeModel::ListChildren);
  connect(m_foldersView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          &TDXFoldersView::SelectionChanged);
  connect(m_foldersView->selectionModel(), &QItemSelectionModel::currentChanged, this,
          &TDXFoldersView::SelectionChanged);
  connect(m_foldersTree, &QAbstractItemModel::modelReset, this, &TDXFoldersView::SelectionChanged);
  connect(m_filesView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          &TDXFoldersView::UpdateActions);
  connect(m_filesList, &QAbstractItemModel::modelReset, this, &TDXFoldersView::UpdateActions);
  connect(m_filesView, &QTreeView::activated, this, &TDXFoldersView::OpenEntry);
  connect(m_foldersView, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    QMenu::exec(m_menuActions, m_foldersView->viewport()->mapToGlobal(at), nullptr, this);
  });
  connect(m_filesView, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
    QMenu::exec({m_analyseFiles}, m_filesView->viewport()->mapToGlobal(at), nullptr, this);
  });
  UpdateHints();
  UpdateActions();
}

TDXFoldersView::~TDXFoldersView() = default;

void TDXFoldersView::LoadList() {
  std::vector<std::string> setting;
  if (!CConfiguration::Instance().GetList(kSettingKey, &setting)) return;
  for (const TDXSelectedFolder& folder : FoldersFromSetting(setting))
    AddNewPath(folder.path, folder.groupId);
}

std::vector<std::string> TDXFoldersView::LookNow() {
  return m_foldersTree->LookNow();
}

bool TDXFoldersView::event(QEvent* event) {
  if (event->type() == QEvent::WindowActivate || event->type() == QEvent::Show)
    m_foldersTree->LookAgain();
  return QWidget::event(event);
}

bool TDXFoldersView::HasSelection() const {
  return !m_foldersTree->IsEmpty();
}

std::vector<TDXSelectedFolder> TDXFoldersView::UnloadList() {
  const std::vector<TDXSelectedFolder> folders = m_foldersTree->Folders();
  CConfiguration::Instance().SetList(kSettingKey, FoldersToSetting(folders));
  std::vector<TDXSelectedFolder> present;
  for (size_t row = 0; row < folders.size(); ++row) {
    if (!m_foldersTree->IsAway(m_foldersTree->index(static_cast<int>(row), 0, {})))
      present.push_back(folders[row]);
  }
  return present;
}

void TDXFoldersView::AddNewPath(const std::string& path, uint8_t groupId) {
  (void)m_foldersTree->AddNewPath(path, groupId);
}

QList<QAction*> TDXFoldersView::MenuActions() const {
  return m_menuActions;
}

QAction* TDXFoldersView::AddAction() const {
  return m_add;
}

void TDXFoldersView::UpdateActions() {
  const QModelIndexList rows = m_foldersView->selectionModel()->selectedRows();
  QList<QModelIndex> tops;
  for (const QModelIndex& row : rows) {
    if (CFolderTreeModel::IsTop(row)) tops.append(row);
  }
  m_remove->setEnabled(!tops.isEmpty());
  m_group->setEnabled(!tops.isEmpty());
  m_clear->setEnabled(HasSelection());
  m_analyseFiles->setEnabled(m_filesView->selectionModel()->hasSelection());
  m_analyseFolders->setEnabled(std::any_of(
      rows.begin(), rows.end(), [this](const auto& row) { return !m_foldersTree->IsAway(row); }));
  for (QAction* const choice : m_groupMenu->actions()) {
    bool common = !tops.isEmpty();
    for (const QModelIndex& row : tops)
      common = common && m_foldersTree->Group(row) == choice->data().toInt();
    choice->setEnabled(!tops.isEmpty());
    choice->setChecked(common);
  }
}

QByteArray TDXFoldersView::SaveLayout() const {
  QByteArray state;
  QDataStream stream(&state, QIODevice::WriteOnly);
  stream << kLayoutVersion << m_splitter->saveState() << m_filesView->header()->saveState();
  return state;
}

void TDXFoldersView::RestoreLayout(const QByteArray& state) {
  QDataStream stream(state);
  qint32 version = 0;
  QByteArray splitter;
  QByteArray files;
  stream >> version >> splitter >> files;
  if (stream.status() != QDataStream::Ok || version != kLayoutVersion) return;
  (void)m_splitter->restoreState(splitter);
  (void)m_filesView->header()->restoreState(files);
}

void TDXFoldersView::MakeActions() {
  const auto make = [this](const char* icon, const QString& text, const QString& tip,
                           auto function) {
    auto* const action = new QAction(Icon(icon), text, this);
    action->setToolTip(tip);
    connect(action, &QAction::triggered, this, function);
    return action;
  };
  m_add = make("list-add", tr("&Add Folder…"), tr("Add folders to the list to scan"),
               &TDXFoldersView::AddByDialog);
  m_add->setShortcut(Qt::CTRL | Qt::SHIFT | Qt::Key_O);
  m_remove =
      make("list-remove", tr("&Remove Folder"),
           tr("Take the selected folders off the list; nothing on the disk changes"),
           [this] { m_foldersTree->Remove(m_foldersView->selectionModel()->selectedRows()); });
  m_remove->setShortcut(QKeySequence::Delete);
  // Every tab has an action on this key: each holds where its own rows have the focus.
  m_remove->setShortcutContext(Qt::WidgetWithChildrenShortcut);
  m_clear = make("edit-clear-all", tr("&Clear List"),
                 tr("Take all folders off the list; nothing on the disk changes"),
                 [this] { m_foldersTree->Clear(); });
  m_analyseFiles =
      make("analyse", tr("Analyse Selected &Files"), tr("Rate the quality of the selected files"),
           &TDXFoldersView::AnalyseSelectedFiles);
  m_analyseFolders = make("analyse", tr("Analyse Selected F&olders"),
                          tr("Rate the quality of all files in the selected folders"),
                          &TDXFoldersView::AnalyseSelectedFolders);

  m_groupMenu = new QMenu(tr("&Group"), this);
  m_groupMenu->setToolTipsVisible(true);
  auto* const choices = new QActionGroup(this);
  choices->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
  for (uint8_t groupId = 0; groupId <= kLastFolderGroup; ++groupId) {
    QAction* const choice =
        m_groupMenu->addAction(groupId == 0 ? tr("&No group") : tr("Group #&%1").arg(groupId));
    choice->setData(groupId);
    choice->setCheckable(true);
    choice->setToolTip(groupId == 0 ? tr("Compare the files with all others")
                                    : tr("Do not compare files of this group with each other"));
    choices->addAction(choice);
    connect(choice, &QAction::triggered, this, [this, groupId] { SetGroup(groupId); });
  }
  m_group = m_groupMenu->menuAction();
  m_group->setIcon(Icon("folder-group"));
  m_group->setToolTip(tr("Files of folders with one group are not compared with each other"));

  const auto separator = [this] {
    auto* const action = new QAction(this);
    action->setSeparator(true);
    return action;
  };
  m_menuActions = {m_add,          m_remove,         m_group,     separator(),
                   m_analyseFiles, m_analyseFolders, separator(), m_clear};
}

QWidget* TDXFoldersView::MakeFoldersPane() {
  m_foldersView = MakeView(m_foldersTree, tr("Folders to scan"));
  m_foldersView->header()->setSectionResizeMode(CFolderTreeModel::kGroup,
                                                QHeaderView::ResizeToContents);
  m_foldersView->addAction(m_remove);
  m_textTip = MakeTip(m_foldersView, tr("Drop folders here, or add them with +"));

  auto* const group = new QToolButton;
  group->setDefaultAction(m_group);
  group->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  group->setPopupMode(QToolButton::InstantPopup);
  group->setFocusPolicy(Qt::TabFocus);
  auto* const buttons = new QHBoxLayout;
  buttons->setContentsMargins(4, 0, 4, 4);
  buttons->setSpacing(2);
  buttons->addWidget(MakeButton(m_add));
  buttons->addWidget(MakeButton(m_remove));
  buttons->addStretch();
  buttons->addWidget(group);

  auto* const pane = new QWidget;
  auto* const layout = new QVBoxLayout(pane);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(4);
  layout->addWidget(m_foldersView);
  layout->addLayout(buttons);
  return pane;
}

QWidget* TDXFoldersView::MakeFilesPane() {
  m_filesView = MakeView(m_filesList, tr("Content of the selected folder"));
  m_filesView->setRootIsDecorated(false);
  m_filesView->setItemsExpandable(false);
  m_filesView->setAlternatingRowColors(true);
  m_filesView->setSortingEnabled(true);
  m_filesView->sortByColumn(CFileListModel::kName, Qt::AscendingOrder);
  const QFontMetrics metrics = m_filesView->fontMetrics();
  const int gap = 4 * metrics.averageCharWidth();
  m_filesView->header()->resizeSection(CFileListModel::kSize,
                                       metrics.horizontalAdvance("9999.99 MB") + gap);
  m_filesView->header()->resizeSection(CFileListModel::kModified,
                                       metrics.horizontalAdvance("30/12/2000 23:59 PM") + gap);
  m_filesTip = MakeTip(m_filesView, tr("Select a folder to see what is in it"));
  return m_filesView;
}

void TDXFoldersView::AddByDialog() {
  AddFolders(ChooseFolders(this));
}

void TDXFoldersView::AddFolders(const std::vector<std::string>& paths) {
  QModelIndex last;
  for (const std::string& path : paths) {
    const QModelIndex added = m_foldersTree->AddNewPath(path, 0);
    if (added.isValid()) last = added;
  }
  if (last.isValid()) m_foldersView->setCurrentIndex(last);
}

void TDXFoldersView::SetGroup(uint8_t groupId) {
  m_foldersTree->SetGroup(m_foldersView->selectionModel()->selectedRows(), groupId);
}

void TDXFoldersView::AnalyseSelectedFiles() {
  std::vector<std::string> files;
  std::vector<std::string> folders;
  for (const QModelIndex& row : m_filesView->selectionModel()->selectedRows())
    (m_filesList->Entry(row.row()).isFolder ? folders : files)
        .push_back(m_filesList->Path(row.row()));
  m_delegate.AnalyseFolders(folders);
  m_delegate.AnalyseFiles(files);
}

void TDXFoldersView::AnalyseSelectedFolders() {
  std::vector<std::string> folders;
  for (const QModelIndex& row : m_foldersView->selectionModel()->selectedRows())
    if (!m_foldersTree->IsAway(row)) folders.push_back(m_foldersTree->Path(row));
  m_delegate.AnalyseFolders(folders);
}

void TDXFoldersView::OpenEntry(const QModelIndex& entry) {
  const FolderEntry& opened = m_filesList->Entry(entry.row());
  if (!opened.isFolder) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(ShownPath(m_filesList->Path(entry.row()))));
    return;
  }
  const QModelIndex shown = ShownFolder();
  const QModelIndex folder = shown.isValid() ? m_foldersTree->Child(shown, opened.name) : shown;
  if (!folder.isValid()) return;
  m_foldersView->expand(shown);
  m_foldersView->setCurrentIndex(folder);
}

QModelIndex TDXFoldersView::ShownFolder() const {
  const QItemSelectionModel* const selection = m_foldersView->selectionModel();
  const QModelIndex current = selection->currentIndex();
  if (current.isValid() && selection->isRowSelected(current.row(), current.parent()))
    return current.siblingAtColumn(CFolderTreeModel::kFolder);
  const QModelIndexList rows = selection->selectedRows();
  return rows.isEmpty() ? QModelIndex() : rows.first();
}

void TDXFoldersView::SelectionChanged() {
  UpdateActions();
  const QPersistentModelIndex folder = ShownFolder();
  const std::string path = folder.isValid() ? m_foldersTree->Path(folder) : std::string();
  if (path == m_filesList->Folder()) return;
  m_filesList->SetEntries(path, nullptr);
  UpdateHints();
  const uint64_t shown = ++m_shown;
  if (!folder.isValid()) return;
  m_lister->Request(path, Listing::kDetails, [this, folder, path, shown](const auto& entries) {
    if (folder.isValid() && entries) m_foldersTree->TakeEntries(folder, *entries);
    if (shown == m_shown) m_filesList->SetEntries(path, entries);
  });
}

void TDXFoldersView::AwayChanged(const QModelIndex& folder) {
  UpdateActions();
  QModelIndex shown = ShownFolder();
  while (shown.parent().isValid()) shown = shown.parent();
  if (shown.row() == folder.row()) {
    // What is in it is read anew.
    m_filesList->SetEntries({}, nullptr);
    SelectionChanged();
  }
  UpdateHints();
}

void TDXFoldersView::UpdateHints() {
  const QModelIndex shown = ShownFolder();
  const bool away = shown.isValid() && m_foldersTree->IsAway(shown);
  m_textTip->setVisible(m_foldersTree->IsEmpty());
  m_filesTip->setText(away ? tr("This folder is away. Plug in its disk, or take it off the list.")
                           : tr("Select a folder to see what is in it"));
  m_filesTip->setVisible(!m_foldersTree->IsEmpty() && (m_filesList->Folder().empty() || away));
}

}  // namespace quill
