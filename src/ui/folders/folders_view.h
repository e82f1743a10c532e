// SPDX-License-Identifier: GPL-3.0-or-later
// The first tab: the folders to scan, each with a group, and a look into them. A scan always covers
// all top-level folders, whatever is selected. Main thread.
#pragma once

#include <QList>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

#include "app/front_end.h"

class QAction;
class QLabel;
class QMenu;
class QModelIndex;
class QSplitter;
class QTreeView;

namespace quill {

class CFileListModel;
class CFolderLister;
class CFolderTreeModel;
class TDXAppDelegate;

class TDXFoldersView : public QWidget {
  Q_OBJECT

 public:
  // `delegate` takes the wishes for analysis; it must outlive the view.
  explicit TDXFoldersView(TDXAppDelegate& delegate, QWidget* parent = nullptr);
  ~TDXFoldersView() override;

  // Reads the list of the last run from the settings. A folder that is away stays in it.
  void LoadList();
  [[nodiscard]] bool HasSelection() const;
  // Looks for the folders now; gives the paths of those that are away. It is looked for them, too,
  // whenever the window becomes the active one with this tab on show.
  std::vector<std::string> LookNow();
  // The folders to scan, without those that were away; also stores the whole list in the settings.
  [[nodiscard]] std::vector<TDXSelectedFolder> UnloadList();
  // Keeps the list free of folders inside each other; the path is bytes of the file system.
  void AddNewPath(const std::string& path, uint8_t groupId);
  // The same for several, without a group; the last one is selected, or the one that covers it.
  void AddFolders(const std::vector<std::string>& paths);

  // Context menu and the main window's "Action" menu for this tab, separators included.
  [[nodiscard]] QList<QAction*> MenuActions() const;
  // The action that asks for a folder: the main window's File menu has it as well.
  [[nodiscard]] QAction* AddAction() const;
  void UpdateActions();
  // Widths and the splitter's place. Kept by the main window over runs.
  [[nodiscard]] QByteArray SaveLayout() const;
  void RestoreLayout(const QByteArray& state);

 signals:
  // The list of top-level folders has changed: the scan button may be enabled or not.
  void ListChanged();

 protected:
  bool event(QEvent* event) override;

 private:
  void MakeActions();
  [[nodiscard]] QWidget* MakeFoldersPane();
  [[nodiscard]] QWidget* MakeFilesPane();
  void AddByDialog();
  void SetGroup(uint8_t groupId);
  void AnalyseSelectedFiles();
  void AnalyseSelectedFolders();
  void OpenEntry(const QModelIndex& entry);
  void SelectionChanged();
  // A folder has gone away or come back.
  void AwayChanged(const QModelIndex& folder);
  // The selected folder whose content is on show; invalid for none.
  [[nodiscard]] QModelIndex ShownFolder() const;
  void UpdateHints();

  TDXAppDelegate& m_delegate;
  CFolderTreeModel* m_foldersTree;
  CFileListModel* m_filesList;
  QTreeView* m_foldersView;
  QTreeView* m_filesView;
  QSplitter* m_splitter;
  QLabel* m_textTip;   // while the tree is empty
  QLabel* m_filesTip;  // while no folder is selected, or one that is away
  QAction* m_add;
  QAction* m_remove;
  QAction* m_group;
  QAction* m_clear;
  QAction* m_analyseFiles;
  QAction* m_analyseFolders;
  QMenu* m_groupMenu;
  QList<QAction*> m_menuActions;
  uint64_t m_shown = 0;  // number of the last change of the folder on show
  // Declared last: it ends before what its results go to.
  std::unique_ptr<CFolderLister> m_lister;
};

}  // namespace quill
