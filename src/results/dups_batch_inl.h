// SPDX-License-Identifier: GPL-3.0-or-later
// The rows for many pairs at once, in one pass over the table: for a large batch of new pairs, and
// for all pairs when the order, the mode or the membership has changed.
#pragma once

#include <algorithm>
#include <utility>

#include "results/components.h"
#include "results/dups_model.h"

namespace quill {

// The items of a group that must be made anew. Of the old groups that end in it, the largest keeps
// its order; all other items are sorted and merged into that.
template <class Traits>
struct CDupsModel<Traits>::FreshGroup {
  std::vector<ItemData*> ordered, others;

  // Takes the items of an old group that the batch has not touched.
  void TakeOld(const Range& group) {
    std::vector<ItemData*> run;
    for (Position row = group.first; row != group.end; ++row) {
      if (!row->pair && !row->item->touched) run.push_back(row->item);
    }
    if (run.size() > ordered.size()) run.swap(ordered);
    others.insert(others.end(), run.begin(), run.end());
  }
  void Order(const CDupsModel& model) {
    model.SortByKey(others.begin(), others.end(),
                    [&](const ItemData* item) { return model.KeyOf(*item); });
    if (ordered.empty()) {
      ordered.swap(others);
      return;
    }
    std::vector<ItemData*> merged;
    merged.reserve(ordered.size() + others.size());
    auto next = ordered.begin();
    for (ItemData* item : others) {
      const auto place = std::partition_point(next, ordered.end(),
                                              [&, key = model.KeyOf(*item)](const ItemData* other) {
                                                return model.Before(model.KeyOf(*other), key);
                                              });
      merged.insert(merged.end(), next, place);
      merged.push_back(item);
      next = place;
    }
    merged.insert(merged.end(), next, ordered.end());
    ordered.swap(merged);
  }
};

template <class Traits>
void CDupsModel<Traits>::PlaceBatch(const std::vector<PairData*>& pairs) {
  // A graph whose nodes are the groups so far and the items without a row, by their group number;
  // each component is a group of the new table.
  uint32_t nodes = GroupCount();
  std::vector<ItemData*> touched;
  for (const PairData* pair : pairs) {
    for (ItemData* item : {pair->first, pair->second}) {
      item->Fold(pair->scores);
      if (std::exchange(item->touched, true)) continue;
      touched.push_back(item);
      if (!item->group) item->group = ++nodes;
    }
  }
  CComponents components(nodes);
  for (const PairData* pair : pairs) {
    if (!m_flatMode) components.Join(pair->first->group - 1, pair->second->group - 1);
  }

  // Groups with a touched item are made anew; the others keep their rows and their order.
  std::vector<FreshGroup> fresh;
  std::vector<size_t> freshNumber(nodes, 0);  // by component, from 1; 0 for a group that is kept
  for (ItemData* item : touched) {
    size_t& number = freshNumber[components.Find(item->group - 1)];
    if (!number) {
      fresh.emplace_back();
      number = fresh.size();
    }
    fresh[number - 1].others.push_back(item);
  }
  std::vector<Range> kept;
  for (Position first = m_viewData.begin(); first != m_viewData.end();) {
    const uint32_t group = first->item->group;
    const Range range{first, std::find_if(first, m_viewData.end(), [&](const ViewData& row) {
                        return row.item->group != group;
                      })};
    if (const size_t number = freshNumber[components.Find(group - 1)]) {
      fresh[number - 1].TakeOld(range);
    } else {
      kept.push_back(range);
    }
    first = range.end;
  }
  for (FreshGroup& group : fresh) group.Order(*this);
  SortByKey(fresh.begin(), fresh.end(),
            [this](const FreshGroup& group) { return KeyOf(*group.ordered.front()); });

  std::vector<ViewData> rows;
  rows.reserve(m_viewData.size() + touched.size() + (m_flatMode ? 2 * pairs.size() : 0));
  uint32_t number = 0;
  auto next = kept.begin();
  const auto keepUntil = [&](auto end) {
    for (; next != end; ++next) {
      ++number;
      for (Position row = next->first; row != next->end; ++row) row->item->group = number;
      rows.insert(rows.end(), next->first, next->end);
    }
  };
  for (const FreshGroup& group : fresh) {
    keepUntil(std::partition_point(next, kept.end(),
                                   [&, key = KeyOf(*group.ordered.front())](const Range& range) {
                                     return Before(KeyOf(*range.first->item), key);
                                   }));
    ++number;
    for (ItemData* item : group.ordered) {
      item->group = number;
      item->touched = false;
      AppendRows(item, &rows);
    }
  }
  keepUntil(kept.end());
  m_viewData = std::move(rows);
}

template <class Traits>
void CDupsModel<Traits>::AppendRows(ItemData* item, std::vector<ViewData>* rows) const {
  rows->push_back({item, nullptr});
  if (!m_flatMode && !item->expanded) return;
  const auto outer = static_cast<std::ptrdiff_t>(rows->size()) - 1;
  ForEachPair(item, [&](PairData* pair) { rows->push_back({item, pair}); });
  SortByKey(rows->begin() + outer + 1, rows->end(),
            [this](const ViewData& row) { return KeyOf(*row.pair); });
}

template <class Traits>
void CDupsModel<Traits>::Rebuild() {
  m_viewData.clear();
  for (ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item)) {
    item->ResetScores();
    item->group = 0;
  }
  std::vector<PairData*> pairs;
  pairs.reserve(PairCount());
  for (PairData* pair = m_pairs.Next(nullptr); pair; pair = m_pairs.Next(pair)) {
    if (CompareAddresses(pair->second, pair->first) >= 0) pairs.push_back(pair);
  }
  PlaceBatch(pairs);
}

}  // namespace quill
