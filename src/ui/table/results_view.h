// SPDX-License-Identifier: GPL-3.0-or-later
// What the three result tabs share: a table over a controller of the application controller, the
// actions on its rows, and the road back from them. The main window owns the views and knows them
// by this class only. Main thread.
#pragma once

#include <QList>
#include <QString>
#include <QWidget>

#include "app/front_end.h"

class QAction;
class QTableView;

namespace quill {

class CResultsView : public QWidget {
  Q_OBJECT

 public:
  using QWidget::QWidget;

  [[nodiscard]] virtual ResultsTab Tab() const = 0;
  [[nodiscard]] virtual QTableView* ResultsTable() const = 0;
  // The controller's rows have changed: shows them, with selection, current row, scroll position
  // and focus where they were, as far as their files are still there.
  virtual void ReloadView() = 0;
  // The table's context menu in its order, separators included: the main window's "Action" menu
  // shows the same actions. They are enabled and disabled by UpdateActions.
  [[nodiscard]] virtual QList<QAction*> MenuActions() const = 0;
  virtual void UpdateActions() = 0;
  // Forgets all rows.
  virtual void ActionClear() = 0;
  // Formats of an export, the first being the default: pairs of extension and name.
  [[nodiscard]] virtual QList<QPair<QString, QString>> ExportFormats() const = 0;
  // By the extension of the path, which is bytes of the file system; CSV for one that is none of
  // the formats. A failure is told to the user by the caller: empty when all has been written, and
  // when the user has stopped it.
  [[nodiscard]] virtual QString ExportFile(const std::string& path) = 0;
  // Columns: order, widths, visibility, sort mark. Kept by the main window over runs.
  [[nodiscard]] virtual QByteArray SaveColumns() const = 0;
  virtual void RestoreColumns(const QByteArray& state) = 0;

 signals:
  // One line for the status of the window: how many rows are selected, how many files marked.
  void SummaryChanged(const QString& text);
};

}  // namespace quill
