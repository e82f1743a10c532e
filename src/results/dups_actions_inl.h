// SPDX-License-Identifier: GPL-3.0-or-later
// What the user does to rows of a duplicates table: marks, ignores, acts on the files, swaps two.
#pragma once

#include <algorithm>

#include "core/system_error.h"
#include "results/dups_model.h"
#include "results/path_parts.h"

namespace quill {

template <class Traits>
template <class Visit>
void CDupsModel<Traits>::ForEachPair(const ItemData* item, Visit visit) const {
  for (PairData* pair = m_pairs.Find(item); pair && pair->first == item;
       pair = m_pairs.Next(pair)) {
    visit(pair);
  }
}

template <class Traits>
auto CDupsModel<Traits>::SortedPairs(const ItemData* item) const -> std::vector<PairData*> {
  std::vector<PairData*> pairs;
  ForEachPair(item, [&](PairData* pair) { pairs.push_back(pair); });
  SortByKey(pairs.begin(), pairs.end(), [this](const PairData* pair) { return KeyOf(*pair); });
  return pairs;
}

template <class Traits>
auto CDupsModel<Traits>::GetStatistics() const -> Statistics {
  Statistics statistics;
  statistics.minimum.fill(1.0f);
  statistics.maximum.fill(-10.0f);
  std::array<double, kScores> sums{};
  for (const PairData* pair = m_pairs.Next(nullptr); pair; pair = m_pairs.Next(pair)) {
    if (CompareAddresses(pair->second, pair->first) < 0) continue;
    ++statistics.count;
    for (size_t i = 0; i < kScores; ++i) {
      statistics.minimum[i] = std::min(statistics.minimum[i], pair->scores[i]);
      statistics.maximum[i] = std::max(statistics.maximum[i], pair->scores[i]);
      sums[i] += pair->scores[i];
    }
  }
  for (size_t i = 0; i < kScores && statistics.count; ++i) {
    statistics.mean[i] = static_cast<float>(sums[i] / statistics.count);
  }
  return statistics;
}

template <class Traits>
auto CDupsModel<Traits>::FilesOf(const Rows& rows) const -> CUniqueList<ItemData> {
  CUniqueList<ItemData> files;
  for (int32_t row : rows) {
    if (IsRow(row)) files.Add(m_viewData[static_cast<size_t>(row)].File());
  }
  return files;
}

template <class Traits>
auto CDupsModel<Traits>::MarkedFiles() const -> CUniqueList<ItemData> {
  CUniqueList<ItemData> files;
  for (const ViewData& row : m_viewData) {
    if (!row.pair && row.item->marked) files.Add(row.item);
  }
  return files;
}

template <class Traits>
void CDupsModel<Traits>::MarkRows(const Rows& rows) {
  for (ItemData* item : FilesOf(rows)) item->marked = !item->marked;
}

template <class Traits>
void CDupsModel<Traits>::UnmarkAll() {
  for (ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item)) {
    item->marked = false;
  }
}

template <class Traits>
void CDupsModel<Traits>::InvertMarked() {
  for (ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item)) {
    item->marked = !item->marked;
  }
}

template <class Traits>
void CDupsModel<Traits>::MarkOnly(const std::unordered_set<const ItemData*>& items) {
  for (ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item)) {
    item->marked = items.contains(item);
  }
}

template <class Traits>
void CDupsModel<Traits>::RemovePair(PairData* pair) {
  ItemData* first = pair->first;
  ItemData* second = pair->second;
  m_viewData.clear();  // rows of what goes would dangle until the Rebuild that follows
  if (m_journal) Traits::JournalRemoval(*m_journal, first->base->path, second->base->path);
  m_pairs.Remove(FindPair(second, first));
  if (--second->pairs == 0) m_items.Remove(second);
  m_pairs.Remove(pair);
  if (--first->pairs == 0) m_items.Remove(first);
}

template <class Traits>
void CDupsModel<Traits>::RemoveSets(const CUniqueList<ItemData>& items,
                                    const CUniqueList<PairData>& pairs) {
  // Of the two directions the one with the lower first address stands for the pair.
  CUniqueList<PairData> doomed;
  const auto add = [&](PairData* pair) {
    const bool low = CompareAddresses(pair->first, pair->second) < 0;
    doomed.Add(low ? pair : FindPair(pair->second, pair->first));
  };
  for (PairData* pair : pairs) add(pair);
  for (ItemData* item : items) ForEachPair(item, add);
  if (doomed.IsEmpty()) return;
  for (PairData* pair : doomed) RemovePair(pair);
  Rebuild();
}

template <class Traits>
void CDupsModel<Traits>::IgnoreAndRemove(const CUniqueList<ItemData>& items,
                                         const CUniqueList<PairData>& pairs) {
  const auto ignore = [this](const PairData* pair) {
    m_ignores.AddIgnore(pair->first->base->path, pair->second->base->path);
  };
  for (ItemData* item : items) ForEachPair(item, ignore);
  for (PairData* pair : pairs) ignore(pair);
  RemoveSets(items, pairs);
}

template <class Traits>
void CDupsModel<Traits>::IgnoreRows(const Rows& rows) {
  CUniqueList<ItemData> items;
  CUniqueList<PairData> pairs;
  for (int32_t number : rows) {
    if (!IsRow(number)) continue;
    const ViewData& row = m_viewData[static_cast<size_t>(number)];
    if (row.pair) {
      pairs.Add(row.pair);
    } else {
      items.Add(row.item);
    }
  }
  IgnoreAndRemove(items, pairs);
}

template <class Traits>
void CDupsModel<Traits>::IgnoreMarked() {
  IgnoreAndRemove(MarkedFiles(), {});
}

template <class Traits>
void CDupsModel<Traits>::IgnorePair(std::string_view first, std::string_view second) {
  const ItemData* a = FindItem(first);
  const ItemData* b = FindItem(second);
  PairData* pair = a && b ? FindPair(a, b) : nullptr;
  if (!pair) return;
  CUniqueList<PairData> pairs;
  pairs.Add(pair);
  IgnoreAndRemove({}, pairs);
}

template <class Traits>
bool CDupsModel<Traits>::ActOnFiles(const CUniqueList<ItemData>& items,
                                    const FilesCallback& callback) {
  std::vector<std::string> paths;
  for (const ItemData* item : items) paths.push_back(item->base->path);
  if (paths.empty() || !callback(&paths)) return false;
  // The callback may have asked the user, and the table may have changed meanwhile.
  RemoveFiles(paths);
  FilesRemoved(paths);
  return true;
}

template <class Traits>
void CDupsModel<Traits>::RemoveFiles(const std::vector<std::string>& paths) {
  CUniqueList<ItemData> present;
  for (const std::string& path : paths) {
    if (ItemData* item = FindItem(path)) present.Add(item);
  }
  RemoveSets(present, {});
}

template <class Traits>
bool CDupsModel<Traits>::ActOnRows(const Rows& rows, const FilesCallback& callback) {
  return ActOnFiles(FilesOf(rows), callback);
}

template <class Traits>
bool CDupsModel<Traits>::ActOnMarked(const FilesCallback& callback) {
  return ActOnFiles(MarkedFiles(), callback);
}

template <class Traits>
bool CDupsModel<Traits>::ActOnFile(std::string_view path, const FilesCallback& callback) {
  CUniqueList<ItemData> items;
  if (ItemData* item = FindItem(path)) items.Add(item);
  return ActOnFiles(items, callback);
}

template <class Traits>
size_t CDupsModel<Traits>::CountWholeGroups(const std::vector<std::string>& paths) const {
  std::unordered_set<const ItemData*> items, seen;
  for (const std::string& path : paths) {
    if (const ItemData* item = FindItem(path)) items.insert(item);
  }
  size_t count = 0;
  for (const ItemData* start : items) {
    if (!seen.insert(start).second) continue;
    bool whole = true;
    for (std::vector<const ItemData*> waiting{start}; !waiting.empty();) {
      const ItemData* const item = waiting.back();
      waiting.pop_back();
      whole = whole && items.contains(item);
      ForEachPair(item, [&](const PairData* pair) {
        if (seen.insert(pair->second).second) waiting.push_back(pair->second);
      });
    }
    count += whole;
  }
  return count;
}

template <class Traits>
bool CDupsModel<Traits>::CanSwap(const Rows& rows) const {
  if (rows.size() != 2 || !IsRow(rows[0]) || !IsRow(rows[1])) return false;
  const ViewData& first = m_viewData[static_cast<size_t>(rows[0])];
  const ViewData& second = m_viewData[static_cast<size_t>(rows[1])];
  return first.item->group == second.item->group && first.File() != second.File() &&
         LowerExtension(first.File()->base->path) == LowerExtension(second.File()->base->path);
}

template <class Traits>
bool CDupsModel<Traits>::Swap(const Rows& rows, const SwapFunction& swap) {
  if (!swap) return CSystemError::Bool("Swap", 1, false);
  if (!CanSwap(rows)) return false;
  const CRef<const Base> first = m_viewData[static_cast<size_t>(rows[0])].File()->base;
  const CRef<const Base> second = m_viewData[static_cast<size_t>(rows[1])].File()->base;
  if (!swap(first->path, second->path)) return false;

  ItemData* a = FindItem(first->path);
  ItemData* b = FindItem(second->path);
  if (!a || !b) return CSystemError::Bool("Swap", 2, false);
  if (!ChangeJournaled(a, WithPath(*first, second->path))) {
    return CSystemError::Bool("Swap", 3, false);
  }
  if (!ChangeJournaled(b, WithPath(*second, first->path))) {
    return CSystemError::Bool("Swap", 4, false);
  }
  RebuildIfSortedBy({FieldId::kFile, FieldId::kFolder, FieldId::kFilename});
  FilesSwapped(first->path, second->path);
  return true;
}

}  // namespace quill
