// SPDX-License-Identifier: GPL-3.0-or-later
// Everything that the three result tabs do alike: the table, the actions on its rows with their
// menu, enabling, export and columns. A tab names its controller and adds what is its own. Actions
// work on the selected rows; after each one the delegate shows the tables anew. Main thread.
#pragma once

#include <QList>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/app_delegate.h"
#include "results/partners.h"
#include "ui/table/results_view.h"

class QAction;
class QKeySequence;

namespace quill {

class CFileOperations;
class CResultsModel;
class TDXTableView;

// What the tabs ask of their controllers, which are alike but have no class in common.
class CTableActions {
 public:
  using Rows = std::vector<int32_t>;

  virtual ~CTableActions() = default;
  virtual void MarkRows(const Rows& rows) = 0;
  virtual void UnmarkAll() = 0;
  virtual void InvertMarked() = 0;
  virtual void IgnoreRows(const Rows& rows) = 0;
  virtual void IgnoreMarked() = 0;
  virtual bool ActOnRows(const Rows& rows, const FilesCallback& callback) = 0;
  virtual bool ActOnMarked(const FilesCallback& callback) = 0;
  // Of how many groups no file would be left without these.
  [[nodiscard]] virtual size_t CountWholeGroups(const std::vector<std::string>& paths) const = 0;
  virtual void Clear() = 0;
};

template <class Controller>
class CTableActionsOf : public CTableActions {
 public:
  // The controller must outlive the object.
  explicit CTableActionsOf(Controller& controller) : m_controller(controller) {}
  void MarkRows(const Rows& rows) override { m_controller.MarkRows(rows); }
  void UnmarkAll() override { m_controller.UnmarkAll(); }
  void InvertMarked() override { m_controller.InvertMarked(); }
  void IgnoreRows(const Rows& rows) override { m_controller.IgnoreRows(rows); }
  void IgnoreMarked() override { m_controller.IgnoreMarked(); }
  bool ActOnRows(const Rows& rows, const FilesCallback& callback) override {
    return m_controller.ActOnRows(rows, callback);
  }
  bool ActOnMarked(const FilesCallback& callback) override {
    return m_controller.ActOnMarked(callback);
  }
  [[nodiscard]] size_t CountWholeGroups(const std::vector<std::string>& paths) const override {
    if constexpr (requires { m_controller.CountWholeGroups(paths); })
      return m_controller.CountWholeGroups(paths);
    else
      return 0;  // a table without pairs
  }
  void Clear() override { m_controller.Clear(); }

 private:
  Controller& m_controller;
};

class CTableTab : public CResultsView {
  Q_OBJECT

 public:
  ~CTableTab() override;

  [[nodiscard]] QTableView* ResultsTable() const override;
  void ReloadView() override;
  [[nodiscard]] QList<QAction*> MenuActions() const override { return m_menu; }
  // What opens a file in place of the desktop's program; false when the desktop is to do it.
  std::function<bool(const std::string& path)> m_open;
  void UpdateActions() override;
  void ActionClear() override;
  [[nodiscard]] QByteArray SaveColumns() const override;
  void RestoreColumns(const QByteArray& state) override;

 protected:
  // When an action is enabled.
  enum class Needs { kRows, kSelection, kMarked, kOwnTest };

  // `delegate` and `files` must outlive the tab.
  CTableTab(TDXAppDelegate& delegate, CFileOperations& files, QWidget* parent);
  // To be called once by the constructor of the tab: the tab takes both over.
  void SetTable(CResultsModel* model, std::unique_ptr<CTableActions> actions);

  // ---- the menu, in the order of these calls. `icon` is a name for Icon().
  QAction* AddAction(const char* icon, const QString& text, const QString& toolTip,
                     const QKeySequence& shortcut, Needs needs, std::function<void()> run);
  void AddSeparator();
  // The actions that every tab has, in three portions.
  void AddFileActions(const QString& open, const QString& openToolTip);
  // Of the tabs of sounds.
  void AddSpectrumActions();
  void AddMarkActions();
  void AddRemovalActions();
  // Behind the last action: clear, copy, columns.
  void EndMenu();

  // For an action that has its own test.
  [[nodiscard]] virtual bool IsEnabled(const QAction*) const { return true; }
  // What the table says while it is empty.
  struct EmptyTexts {
    ScanMode mode;    // of the scans that fill it
    QString before;   // no such scan yet; what to do follows
    QString other;    // none yet, and a scan of the other mode is running
    QString busy;     // while one runs
    QString stopped;  // one was stopped and had found nothing
    QString noFiles;  // one ended and met no file of the kind
    QString oneFile;
    QString nothing;  // one ended and found nothing among %L1 files
    QString left;     // there were rows, and all of them are gone
    QString opened;   // a results file without such rows is open
  };
  [[nodiscard]] virtual EmptyTexts Empty() const = 0;

  [[nodiscard]] std::vector<int32_t> SelectedRows() const;
  [[nodiscard]] TDXAppDelegate& Delegate() const { return m_delegate; }
  [[nodiscard]] CFileOperations& Files() const { return m_files; }
  // The formats that every table has on offer.
  [[nodiscard]] static QList<QPair<QString, QString>> TableFormats();
  // To be called after each change of rows or marks.
  void Changed();

 private:
  struct Entry {
    QAction* action;
    Needs needs;
  };

  void OpenRow(int32_t row);
  void CopyPaths();
  void ActionMark();
  void UpdateSummary();
  [[nodiscard]] QString EmptyText() const;
  // How to begin a scan of the mode.
  [[nodiscard]] QString WhatToDo(ScanMode mode) const;

  TDXAppDelegate& m_delegate;
  CFileOperations& m_files;
  CResultsModel* m_model = nullptr;
  TDXTableView* m_table = nullptr;
  std::unique_ptr<CTableActions> m_actions;
  QList<QAction*> m_menu;
  std::vector<Entry> m_entries;
};

}  // namespace quill
