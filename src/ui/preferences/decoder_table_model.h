// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the decoder table as the preferences show and change them: a working copy. Main
// thread.
#pragma once

#include <QAbstractTableModel>

#include "decoding/decoder_table.h"

namespace quill {

class CDecoderTableModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { kName, kExtensions, kColumns };

  using QAbstractTableModel::QAbstractTableModel;

  void SetRows(CDecoderTable::Rows rows);
  [[nodiscard]] const CDecoderTable::Rows& Rows() const { return m_rows; }
  // Exchanges a row with its neighbour, if there is one.
  void Move(int row, int step);

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                    int role) const override;
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  CDecoderTable::Rows m_rows;
};

}  // namespace quill
