// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/row_selection.h"

#include <QAccessible>
#include <QSignalBlocker>
#include <algorithm>

namespace quill {

namespace {

// The ranges of rows for which `test` holds.
template <class Test>
std::vector<RowRange> RangesOf(size_t rows, Test test) {
  std::vector<RowRange> ranges;
  for (size_t row = 0; row < rows; ++row) {
    if (!test(row)) continue;
    const auto number = static_cast<int32_t>(row);
    if (!ranges.empty() && ranges.back().last == number - 1) {
      ranges.back().last = number;
    } else {
      ranges.push_back({number, number});
    }
  }
  return ranges;
}

}  // namespace

CRowSelection::CRowSelection(QAbstractItemModel* model, QObject* parent)
    : QItemSelectionModel(model, parent) {}

QItemSelection CRowSelection::ToSelection(const std::vector<RowRange>& ranges) const {
  QItemSelection selection;
  selection.reserve(static_cast<qsizetype>(ranges.size()));
  const int last = model()->columnCount() - 1;
  for (const RowRange& range : ranges) {
    selection.append(
        QItemSelectionRange(model()->index(range.first, 0), model()->index(range.last, last)));
  }
  return selection;
}

// In two steps: with one of the two lists empty, the base class has nothing to compare.
void CRowSelection::StoreInBase(const std::vector<RowRange>& ranges) {
  const QSignalBlocker quiet(this);
  m_behind = false;
  QItemSelectionModel::select(QItemSelection(), Clear);
  if (!ranges.empty()) QItemSelectionModel::select(ToSelection(ranges), ClearAndSelect);
}

void CRowSelection::select(const QItemSelection& selection,
                           QItemSelectionModel::SelectionFlags command) {
  if (command == NoUpdate) return;
  const auto rows = static_cast<size_t>(model()->rowCount());
  m_flags.resize(rows);
  const std::vector<uint8_t> before = m_flags;
  if (command & Clear) {
    m_settled.assign(rows, 0);
  } else if (!(command & Current)) {
    m_settled = m_flags;
  } else {
    m_settled.resize(rows);
  }
  m_flags = m_settled;
  for (const QItemSelectionRange& range : selection) {
    if (!range.isValid()) continue;
    for (int row = range.top(); row <= range.bottom(); ++row) {
      const auto at = static_cast<size_t>(row);
      if (command & Select) m_flags[at] = 1;
      if (command & Deselect) m_flags[at] = 0;
      if (command & Toggle) m_flags[at] = !m_settled[at];
    }
  }
  m_count = static_cast<size_t>(std::count(m_flags.begin(), m_flags.end(), 1));

  const auto came = RangesOf(rows, [&](size_t row) { return m_flags[row] && !before[row]; });
  const auto went = RangesOf(rows, [&](size_t row) { return !m_flags[row] && before[row]; });
  if (came.empty() && went.empty()) return;
  StoreInBase(RangesOf(rows, [&](size_t row) { return m_flags[row] != 0; }));
  emit selectionChanged(ToSelection(came), ToSelection(went));
}

void CRowSelection::CatchUp() {
  if (!m_behind) return;
  StoreInBase(RangesOf(m_flags.size(), [&](size_t row) { return m_flags[row] != 0; }));
}

void CRowSelection::reset() {
  m_behind = false;
  m_flags.clear();
  m_settled.clear();
  m_count = 0;
  const QSignalBlocker quiet(this);
  QItemSelectionModel::select(QItemSelection(), Clear);
  clearCurrentIndex();
}

void CRowSelection::Restore(const std::vector<RowRange>& ranges, const QModelIndex& current) {
  m_flags.assign(static_cast<size_t>(model()->rowCount()), 0);
  m_count = 0;
  for (const RowRange& range : ranges) {
    std::fill(m_flags.begin() + range.first, m_flags.begin() + range.last + 1, uint8_t{1});
    m_count += static_cast<size_t>(range.last - range.first + 1);
  }
  m_settled = m_flags;
  // Each range costs a microsecond in the base class, for every batch.
  constexpr size_t kMany = 2000;
  m_behind = ranges.size() > kMany;
  if (!m_behind || QAccessible::isActive()) StoreInBase(ranges);
  const QSignalBlocker quiet(this);
  if (current.isValid()) setCurrentIndex(current, NoUpdate);
}

}  // namespace quill
