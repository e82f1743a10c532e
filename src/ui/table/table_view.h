// SPDX-License-Identifier: GPL-3.0-or-later
// The table of a results tab: group strip with numbers, shaded groups, triangles that show and hide
// inner rows, a header menu of columns, and a selection that follows its rows through every change
// of the model. It knows the rows by CResultsModel only. Main thread.
//
// Cells are drawn here and not by the base class, which asks the selection for each cell in a time
// that grows with the number of selected ranges: rows that a scan inserts into a large selection
// make tens of thousands of them.
#pragma once

#include <QTableView>
#include <functional>
#include <optional>
#include <vector>

#include "ui/table/results_model.h"
#include "ui/table/row_memory.h"

namespace quill {

class CRowSelection;

class TDXTableView : public QTableView {
  Q_OBJECT

 public:
  // The model must outlive the view.
  explicit TDXTableView(CResultsModel& model, QWidget* parent = nullptr);
  ~TDXTableView() override;

  // Shows the controller's rows with everything where it was.
  void ReloadRows();
  // What an empty table says, asked for when it is drawn.
  void SetHint(std::function<QString()> hint);
  [[nodiscard]] QString Hint() const { return m_hint ? m_hint() : QString(); }

  // Rising; costs a look at every row.
  [[nodiscard]] std::vector<int32_t> SelectedRows() const;
  [[nodiscard]] size_t SelectedCount() const;
  // The current row if it is selected, else the first selected one; -1 without any.
  [[nodiscard]] int32_t LeadingRow() const;

  // Logical index of the leftmost column on show; -1 with none.
  [[nodiscard]] int FirstVisibleColumn() const;
  // Of the first visible column the cell leaves room at its left for strip and triangle.
  [[nodiscard]] QRect CellRect(const QModelIndex& index) const;
  // One checkable action a column, in the order of the model; the last one on show is disabled.
  [[nodiscard]] QList<QAction*> ColumnActions() const { return m_columnActions; }

  // Order, widths and visibility by the columns' names, so that a later version with other columns
  // can read it.
  [[nodiscard]] QByteArray SaveColumns() const;
  void RestoreColumns(const QByteArray& state);

 signals:
  // Space: the selected rows are to be marked, or not any more.
  void MarkRequested();
  // A double click on a row outside its triangle.
  void OpenRequested(int row);
  // The number of selected rows may have changed.
  void SelectedCountChanged();

 protected:
  bool event(QEvent* event) override;
  bool viewportEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void changeEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
  void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

 private:
  class Painting;

  // Before and after a reset of the model.
  void RememberRows();
  void RestoreRows();
  void SortBy(int column, Qt::SortOrder order);
  void ShowSort();

  void RebuildHeaderMenu();
  void ShowHideColumn(int column, bool show);
  void UpdateColumnActions();
  void SetDefaultColumns();
  void SetRowHeight();

  [[nodiscard]] int ColumnWidth(const TableColumn& column) const;
  // True when the place is on the triangle of a row that has one; it has then been toggled.
  [[nodiscard]] bool ToggleAt(const QPoint& position);
  // Right and left as in a tree. False when there is nothing to show or hide.
  [[nodiscard]] bool StepIntoGroup(bool right);

  CResultsModel& m_rows;
  CRowSelection* m_selection;
  std::function<QString()> m_hint;
  QList<QAction*> m_columnActions;
  bool m_sorting = false;   // the reset in hand is a new order: rows move on purpose
  bool m_ownWidths = true;  // no layout of an earlier run: the first column takes what is left
  bool m_shown = false;

  struct Kept {
    CRowMemory memory;
    int anchorTop = 0;  // of the anchor row in the viewport, pixels
    int scroll = 0;
    int32_t current = -1;
    bool currentVisible = false;
    int currentColumn = 0;
    size_t selectedCount = 0;
  };
  std::optional<Kept> m_kept;
};

}  // namespace quill
