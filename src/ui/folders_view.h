// The first tab: the folders to scan, each with a group, and a look into them. A scan always covers
// all top-level folders, whatever is selected. Main thread.
#pragma once

#include <QList>
#include <QWidget>
#include <string>
#include <vector>

#include "app/front_end.h"

class QAction;

namespace quill {

class TDXAppDelegate;

class TDXFoldersView : public QWidget {
  Q_OBJECT

 public:
  // `delegate` takes the wishes for analysis; it must outlive the view.
  explicit TDXFoldersView(TDXAppDelegate& delegate, QWidget* parent = nullptr);
  ~TDXFoldersView() override;

  // Reads the list of the last run from the settings.
  void LoadList();
  [[nodiscard]] bool HasSelection() const;
  // The folders to scan; also stores the list in the settings.
  [[nodiscard]] std::vector<TDXSelectedFolder> UnloadList();
  // Keeps the list free of folders inside each other; the path is bytes of the file system.
  void AddNewPath(const std::string& path, uint8_t groupId);

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
};

}  // namespace quill
