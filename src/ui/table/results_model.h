// SPDX-License-Identifier: GPL-3.0-or-later
// A table of the engine as Qt's views read it: one row a row of the controller, one column a field.
// It translates and holds nothing of its own but the identities of the rows that Qt was last told
// of; cells are read from the controller when they are drawn. Nobody notices by himself that the
// controller's rows have changed: whoever changes them calls Reload before control goes back to the
// event loop. Main thread; the controller must outlive the model.
#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QString>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "audio/analysis_info.h"
#include "results/field_id.h"
#include "ui/table/row_memory.h"
#include "ui/table/table_columns.h"

namespace quill {

// What a score cell shows. Below 0: not computed.
struct ScoreBar {
  float score = -1;
  QColor colorMin, colorMid, colorMax;  // the first two may be invalid
};

// What a spectrum cell shows: 0 is -150 dB or less, 255 is 0 dB.
struct MiniSpectrum {
  AnalysisInfo::Spectrum average, peak;
};

// Which rows belong together.
struct RowGroup {
  uint32_t number = 0;  // 0: the table has no groups
  int32_t first = 0, last = 0;
};

class CResultsModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Role {
    kScoreRole = Qt::UserRole,  // ScoreBar; invalid for an empty cell and in all other columns
    kSpectrumRole,              // MiniSpectrum; invalid for a file that was not analysed
    kRedRole,                   // bool: the file is marked, or the value is a bad one
  };

  CResultsModel(std::span<const TableColumn> columns, QObject* parent);

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                    int role) const override;
  void sort(int column, Qt::SortOrder order) override;

  // Tells Qt of the controller's rows: as a reset, or, where they are the same rows, as new
  // contents.
  void Reload();

  [[nodiscard]] std::span<const TableColumn> Columns() const { return m_columns; }
  // -1 for a field that is no column here.
  [[nodiscard]] int ColumnOf(FieldId field) const;
  // Of the rows that Qt knows.
  [[nodiscard]] const std::vector<RowKey>& Keys() const { return m_keys; }
  // Marked files at the last Reload.
  [[nodiscard]] uint32_t MarkedCount() const { return m_marked; }

  [[nodiscard]] virtual SortState Sort() const = 0;
  // Of the file that the row shows; empty for a row that has gone.
  [[nodiscard]] virtual std::string PathAt(int32_t row) const = 0;
  // "12 groups": what the table holds.
  [[nodiscard]] virtual QString ContentsText() const = 0;

  // ---- groups; a table without any keeps these
  [[nodiscard]] virtual bool HasGroups() const { return false; }
  [[nodiscard]] virtual bool IsFlat() const { return true; }
  [[nodiscard]] virtual RowGroup GroupAt(int32_t /*row*/) const { return {}; }
  // True for an outer row; `expanded` tells whether its inner rows are shown.
  [[nodiscard]] virtual bool IsOuter(int32_t /*row*/, bool* /*expanded*/) const { return false; }
  // Shows or hides the inner rows and reloads. False, with nothing done, for any other row.
  bool ToggleGroup(int32_t row);

 protected:
  // `row` is a row of the controller in all of these.
  // Null for a file that was not analysed.
  [[nodiscard]] virtual const AnalysisInfo* Analysis(int32_t /*row*/) const { return nullptr; }
  [[nodiscard]] virtual QString Text(int32_t row, FieldId field) const = 0;
  [[nodiscard]] virtual QVariant Score(int32_t row, FieldId field) const = 0;
  [[nodiscard]] virtual bool IsMarked(int32_t row) const = 0;
  [[nodiscard]] virtual bool IsBad(int32_t row, FieldId field) const = 0;
  [[nodiscard]] virtual size_t ControllerRows() const = 0;
  // The identities of all rows, and the number of marked files.
  [[nodiscard]] virtual uint32_t FillKeys(std::vector<RowKey>* keys) const = 0;
  virtual void SetSort(FieldId field, bool ascending) = 0;
  virtual void Toggle(int32_t /*row*/) {}

 private:
  std::span<const TableColumn> m_columns;
  std::vector<RowKey> m_keys;
  uint32_t m_marked = 0;
};

}  // namespace quill

Q_DECLARE_METATYPE(quill::ScoreBar)
Q_DECLARE_METATYPE(quill::MiniSpectrum)
