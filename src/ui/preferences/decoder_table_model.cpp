// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/decoder_table_model.h"

#include <cstring>
#include <utility>

namespace quill {

void CDecoderTableModel::SetRows(CDecoderTable::Rows rows) {
  beginResetModel();
  m_rows = std::move(rows);
  endResetModel();
}

void CDecoderTableModel::Move(int row, int step) {
  const int target = row + step;
  if (row < 0 || row >= rowCount() || target < 0 || target >= rowCount()) return;
  // The view's rule: the place before which the row goes, counted with the row still there.
  beginMoveRows({}, row, row, {}, step > 0 ? target + 1 : target);
  std::swap(m_rows[static_cast<size_t>(row)], m_rows[static_cast<size_t>(target)]);
  endMoveRows();
}

int CDecoderTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CDecoderTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumns;
}

QVariant CDecoderTableModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const wire::DecoderRow& row = m_rows[static_cast<size_t>(index.row())];
  if (index.column() == kName) {
    if (role == Qt::DisplayRole) return QString::fromUtf8(CDecoderTable::Name(row.id));
    if (role == Qt::CheckStateRole) return row.enabled ? Qt::Checked : Qt::Unchecked;
    return {};
  }
  if (role != Qt::DisplayRole && role != Qt::EditRole) return {};
  return QString::fromUtf8(row.extensions,
                           static_cast<qsizetype>(strnlen(row.extensions, sizeof row.extensions)));
}

bool CDecoderTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid()) return false;
  wire::DecoderRow& row = m_rows[static_cast<size_t>(index.row())];
  if (index.column() == kName && role == Qt::CheckStateRole) {
    row.enabled = value.value<Qt::CheckState>() == Qt::Checked ? 1 : 0;
  } else if (index.column() == kExtensions && role == Qt::EditRole) {
    QString text = value.toString().simplified();
    while (text.toUtf8().size() >= static_cast<qsizetype>(sizeof row.extensions)) text.chop(1);
    const QByteArray bytes = text.toUtf8();
    std::memset(row.extensions, 0, sizeof row.extensions);
    std::memcpy(row.extensions, bytes.constData(), static_cast<size_t>(bytes.size()));
  } else {
    return false;
  }
  emit dataChanged(index, index);
  return true;
}

QVariant CDecoderTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return section == kName ? tr("Decoder") : tr("Extensions");
}

Qt::ItemFlags CDecoderTableModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
  return flags | (index.column() == kName ? Qt::ItemIsUserCheckable : Qt::ItemIsEditable);
}

}  // namespace quill
