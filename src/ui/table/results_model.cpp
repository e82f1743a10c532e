// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/results_model.h"

#include <utility>

namespace quill {

namespace {

Qt::Alignment AlignmentOf(TableColumn::Kind kind) {
  switch (kind) {
    case TableColumn::Kind::kNumber:
      return Qt::AlignRight | Qt::AlignVCenter;
    case TableColumn::Kind::kCentred:
    case TableColumn::Kind::kScore:
      return Qt::AlignCenter;
    default:
      return Qt::AlignLeft | Qt::AlignVCenter;
  }
}

QString ScoreText(const ScoreBar& bar) {
  if (bar.score < 0) return QStringLiteral("-");
  return QString::asprintf("%.1f%%", static_cast<double>(bar.score) * 100);
}

}  // namespace

CResultsModel::CResultsModel(std::span<const TableColumn> columns, QObject* parent)
    : QAbstractTableModel(parent), m_columns(columns) {}

int CResultsModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_keys.size());
}

int CResultsModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

int CResultsModel::ColumnOf(FieldId field) const {
  for (size_t i = 0; i < m_columns.size(); ++i) {
    if (m_columns[i].field == field) return static_cast<int>(i);
  }
  return -1;
}

QVariant CResultsModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || static_cast<size_t>(index.row()) >= ControllerRows()) return {};
  const TableColumn& column = m_columns[static_cast<size_t>(index.column())];
  const int32_t row = index.row();
  const bool isScore = column.kind == TableColumn::Kind::kScore;
  switch (role) {
    case Qt::DisplayRole: {
      if (!isScore) return Text(row, column.field);
      const QVariant score = Score(row, column.field);
      return score.isValid() ? ScoreText(score.value<ScoreBar>()) : QString();
    }
    case Qt::AccessibleTextRole: {
      if (!isScore) return Text(row, column.field);
      const QVariant score = Score(row, column.field);
      if (!score.isValid()) return QString();
      const auto bar = score.value<ScoreBar>();
      return bar.score < 0 ? tr("not computed") : ScoreText(bar);
    }
    case Qt::AccessibleDescriptionRole:
      return IsMarked(row) ? tr("marked") : QString();
    case Qt::ToolTipRole:
      if (column.kind == TableColumn::Kind::kPath) return Text(row, FieldId::kFile);
      return column.kind == TableColumn::Kind::kText ? Text(row, column.field) : QVariant();
    case Qt::TextAlignmentRole:
      return AlignmentOf(column.kind).toInt();
    case kScoreRole:
      return isScore ? Score(row, column.field) : QVariant();
    case kSpectrumRole: {
      const AnalysisInfo* info =
          column.kind == TableColumn::Kind::kSpectrum ? Analysis(row) : nullptr;
      return info ? QVariant::fromValue(MiniSpectrum{info->averageSpectrum, info->peakSpectrum})
                  : QVariant();
    }
    case kRedRole:
      return IsMarked(row) || IsBad(row, column.field);
    default:
      return {};
  }
}

QVariant CResultsModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation == Qt::Vertical || section < 0 || section >= columnCount()) return {};
  const TableColumn& column = m_columns[static_cast<size_t>(section)];
  switch (role) {
    case Qt::DisplayRole:
      return tr(column.title);
    case Qt::ToolTipRole:
      return tr(column.toolTip);
    case Qt::TextAlignmentRole:
      return AlignmentOf(column.kind).toInt();
    case Qt::InitialSortOrderRole: {
      // The best matches and the largest files first; of the quality the worst files.
      const bool large = column.kind == TableColumn::Kind::kScore ||
                         column.field == FieldId::kPairs || column.field == FieldId::kSize ||
                         column.field == FieldId::kResolution;
      return QVariant::fromValue(large && column.field != FieldId::kRating ? Qt::DescendingOrder
                                                                           : Qt::AscendingOrder);
    }
    default:
      return {};
  }
}

void CResultsModel::sort(int column, Qt::SortOrder order) {
  if (column < 0 || column >= columnCount()) return;
  SetSort(m_columns[static_cast<size_t>(column)].field, order == Qt::AscendingOrder);
  Reload();
}

void CResultsModel::Reload() {
  std::vector<RowKey> keys;
  keys.reserve(ControllerRows());
  m_marked = FillKeys(&keys);
  if (keys == m_keys) {
    if (!keys.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
    return;
  }
  beginResetModel();
  m_keys.swap(keys);
  endResetModel();
}

bool CResultsModel::ToggleGroup(int32_t row) {
  if (IsFlat() || !IsOuter(row, nullptr)) return false;
  Toggle(row);
  Reload();
  return true;
}

}  // namespace quill
