// SPDX-License-Identifier: GPL-3.0-or-later
// The selection of a table of which whole rows are selected, kept as one flag a row. Qt's own is a
// list of ranges, and compares the old list with the new one range by range: with the tens of
// thousands of ranges that a scan makes of a large selection, one key press would take minutes.
// Here a change costs a look at each row. The base class is kept up to date for those who ask it,
// except between a batch of a scan and the next input.
// Main thread.
#pragma once

#include <QItemSelectionModel>
#include <cstdint>
#include <vector>

#include "ui/table/row_memory.h"

namespace quill {

class CRowSelection : public QItemSelectionModel {
  Q_OBJECT

 public:
  explicit CRowSelection(QAbstractItemModel* model, QObject* parent = nullptr);

  // By row, not 0 for a selected one; as long as the model.
  [[nodiscard]] const std::vector<uint8_t>& Flags() const { return m_flags; }
  [[nodiscard]] bool Has(int row) const {
    return static_cast<size_t>(row) < m_flags.size() && m_flags[static_cast<size_t>(row)];
  }
  [[nodiscard]] size_t Count() const { return m_count; }
  // After a reset of the model: these rows, and the current one. Nobody is told. The base class
  // learns of a great number of ranges with the next CatchUp only.
  void Restore(const std::vector<RowRange>& ranges, const QModelIndex& current);
  // To be called before anyone asks the base class, as the view does on each input.
  void CatchUp();

  using QItemSelectionModel::select;
  void select(const QItemSelection& selection,
              QItemSelectionModel::SelectionFlags command) override;
  void reset() override;

 private:
  [[nodiscard]] QItemSelection ToSelection(const std::vector<RowRange>& ranges) const;
  void StoreInBase(const std::vector<RowRange>& ranges);

  std::vector<uint8_t> m_flags;
  std::vector<uint8_t> m_settled;  // without what is being dragged or extended
  size_t m_count = 0;
  bool m_behind = false;  // the base class does not have m_flags yet
};

}  // namespace quill
