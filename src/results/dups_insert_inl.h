// SPDX-License-Identifier: GPL-3.0-or-later
// How items and pairs come into a duplicates table and change there: from workers, from a results
// file, by a change of path or tags. Settings and journal are part of it.
#pragma once

#include <algorithm>
#include <cmath>

#include "core/configuration.h"
#include "core/system_error.h"
#include "results/dups_model.h"

namespace quill {

template <class Traits>
void CDupsModel<Traits>::ItemData::ResetScores() {
  minimum.fill(1.0f);
  maximum.fill(-10.0f);
}

template <class Traits>
void CDupsModel<Traits>::ItemData::Fold(const Scores& scores) {
  for (size_t i = 0; i < kScores; ++i) {
    minimum[i] = std::min(minimum[i], scores[i]);
    maximum[i] = std::max(maximum[i], std::min(scores[i], 1.0f));
  }
}

template <class Traits>
CDupsModel<Traits>::CDupsModel(CIgnoreList& ignores)
    : m_sort(SortState::Decode(CConfiguration::Instance().GetInteger(Traits::kSortKey, 1))),
      m_flatMode(CConfiguration::Instance().GetBool("enableFlatMode", false)),
      m_ignores(ignores) {}

template <class Traits>
void CDupsModel<Traits>::SetSort(FieldId column, bool ascending) {
  if (column == FieldId::kNone) return;
  m_sort = {column, ascending};
  Rebuild();
  CConfiguration::Instance().SetInteger(Traits::kSortKey, m_sort.Encode());
}

template <class Traits>
bool CDupsModel<Traits>::ReloadSettings() {
  const bool flat = CConfiguration::Instance().GetBool("enableFlatMode", false);
  if (flat == m_flatMode) return false;
  m_flatMode = flat;
  Rebuild();
  return true;
}

template <class Traits>
void CDupsModel<Traits>::RebuildIfSortedBy(std::initializer_list<FieldId> columns) {
  if (std::find(columns.begin(), columns.end(), m_sort.column) != columns.end()) Rebuild();
}

template <class Traits>
void CDupsModel<Traits>::Clear() {
  m_viewData.clear();
  m_pairs.Clear();
  m_items.Clear();
  {
    CSyncLock lock(m_sync);
    m_pairsNew.clear();
  }
  // Not emptied: the journal still holds what the other tables show.
  if (m_journal) (void)m_journal->Rebuild();
}

template <class Traits>
bool CDupsModel<Traits>::LockedAdd(InsertData pair) {
  if (!pair.first || !pair.second) return CSystemError::Bool("LockedAdd", 1, false);
  std::list<InsertData> added;  // made outside the lock, so that workers meet only for the splice
  added.push_back(std::move(pair));
  bool wasEmpty = false;
  {
    CSyncLock lock(m_sync);
    wasEmpty = m_pairsNew.empty();
    m_pairsNew.splice(m_pairsNew.end(), added);
  }
  if (wasEmpty && m_callback) m_callback();
  return true;
}

template <class Traits>
bool CDupsModel<Traits>::ProcessNewData() {
  std::list<InsertData> batch;
  {
    CSyncLock lock(m_sync);
    batch.splice(batch.end(), m_pairsNew);
  }
  const bool single = batch.size() < kBatch;
  const auto itemFor = [this](const CRef<const Base>& base, uint8_t folderGroup) {
    ItemData* known = FindItem(base->path);
    return known ? known : InsertJournaled(base, folderGroup);
  };
  bool good = true;
  std::vector<PairData*> added;
  for (const InsertData& data : batch) {
    ItemData* first = itemFor(data.first, data.firstGroup);
    ItemData* second = itemFor(data.second, data.secondGroup);
    PairData* pair = first && second ? InsertJournaled(first, second, data.scores) : nullptr;
    if (!pair) {
      good = CSystemError::Bool("ProcessNewData", 1, false);
      break;
    }
    if (single) {
      InnerAdd(pair);
    } else {
      added.push_back(pair);
    }
  }
  if (!added.empty()) PlaceBatch(added);
  return good;
}

template <class Traits>
auto CDupsModel<Traits>::InsertJournaled(CRef<const Base> base, uint8_t folderGroup) -> ItemData* {
  ItemData fresh;
  fresh.base = std::move(base);
  fresh.folderGroup = folderGroup;
  fresh.ResetScores();
  ItemData* item = m_items.Add(std::move(fresh));
  if (!item) {
    CSystemError::Bool("InsertJournaled", 1, false);
    return nullptr;
  }
  if (m_journal) Traits::JournalItem(*m_journal, *item->base, folderGroup);
  return item;
}

template <class Traits>
auto CDupsModel<Traits>::InsertJournaled(ItemData* first, ItemData* second, Scores scores)
    -> PairData* {
  // A score that is no number has no place in any order; it can only come from a damaged file.
  for (float& score : scores) {
    if (std::isnan(score)) score = -1;
  }
  const auto fail = [](uint32_t line) -> PairData* {
    CSystemError::Bool("InsertJournaled", line, false);
    return nullptr;
  };
  if (first == second || FindPair(first, second) || FindPair(second, first)) return fail(2);
  PairData* pair = m_pairs.Add({first, second, scores});
  if (!pair) return fail(3);
  if (!m_pairs.Add({second, first, scores})) {
    m_pairs.Remove(pair);
    return fail(4);
  }
  ++first->pairs;
  ++second->pairs;
  if (m_journal) Traits::JournalPair(*m_journal, first->base->path, second->base->path, scores);
  return pair;
}

template <class Traits>
bool CDupsModel<Traits>::ChangeJournaled(ItemData* item, CRef<const Base> changed) {
  if (!changed) return CSystemError::Bool("ChangeJournaled", 1, false);
  if (m_journal) Traits::JournalChange(*m_journal, *item->base, *changed);
  const bool moved = item->base->path != changed->path;
  item->base = std::move(changed);
  if (moved) m_items.Reposition(item);
  return true;
}

template <class Traits>
bool CDupsModel<Traits>::BulkAddPair(std::string_view first, std::string_view second,
                                     const Scores& scores) {
  ItemData* a = FindItem(first);
  ItemData* b = FindItem(second);
  if (!a || !b || !InsertJournaled(a, b, scores)) {
    return CSystemError::Bool("BulkAdd", 2, false);
  }
  return true;
}

template <class Traits>
bool CDupsModel<Traits>::BulkRemovePair(std::string_view first, std::string_view second) {
  const ItemData* a = FindItem(first);
  const ItemData* b = FindItem(second);
  PairData* pair = a && b ? FindPair(a, b) : nullptr;
  if (!pair) return CSystemError::Bool("BulkRemove", 1, false);
  RemovePair(pair);
  return true;
}

template <class Traits>
void CDupsModel<Traits>::WriteAll(CResultsJournal& journal) const {
  for (ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item)) {
    Traits::JournalItem(journal, *item->base, item->folderGroup);
  }
  ForEachMatch([&](const PairData& pair) {
    Traits::JournalPair(journal, pair.first->base->path, pair.second->base->path, pair.scores);
  });
}

}  // namespace quill
