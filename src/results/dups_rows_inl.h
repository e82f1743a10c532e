// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of a duplicates table: look-up, and the placing of single rows while pairs trickle in.
#pragma once

#include <algorithm>

#include "core/system_error.h"
#include "results/dups_model.h"

namespace quill {

template <class Traits>
auto CDupsModel<Traits>::TableAt(int32_t row) const -> const ViewData* {
  if (!IsRow(row)) {
    CSystemError::Integer("TableAt", 1, row);
    return nullptr;
  }
  return &m_viewData[static_cast<size_t>(row)];
}

template <class Traits>
bool CDupsModel<Traits>::TableRange(int32_t row, int32_t* first, int32_t* last) const {
  if (!IsRow(row)) return CSystemError::Bool("TableRange", 1, false);
  const uint32_t group = m_viewData[static_cast<size_t>(row)].item->group;
  const auto from = std::partition_point(m_viewData.begin(), m_viewData.begin() + row,
                                         [&](const ViewData& r) { return r.item->group < group; });
  const auto end = std::partition_point(m_viewData.begin() + row, m_viewData.end(),
                                        [&](const ViewData& r) { return r.item->group <= group; });
  if (first) *first = static_cast<int32_t>(from - m_viewData.begin());
  if (last) *last = static_cast<int32_t>(end - m_viewData.begin()) - 1;
  return true;
}

template <class Traits>
bool CDupsModel<Traits>::IsGroup(int32_t row, bool* expanded) const {
  if (!IsRow(row)) return false;
  const ViewData& data = m_viewData[static_cast<size_t>(row)];
  if (expanded) *expanded = data.item->expanded;
  return !data.pair;
}

template <class Traits>
uint32_t CDupsModel<Traits>::GroupCount() const {
  return m_viewData.empty() ? 0 : m_viewData.back().item->group;
}

template <class Traits>
void CDupsModel<Traits>::ToggleGroup(int32_t row) {
  if (m_flatMode || !IsRow(row)) return;
  const Position outer = m_viewData.begin() + row;
  if (outer->pair) return;
  ItemData* item = outer->item;
  item->expanded = !item->expanded;
  if (item->expanded) {
    std::vector<ViewData> rows;
    AppendRows(item, &rows);
    m_viewData.insert(outer + 1, rows.begin() + 1, rows.end());
  } else {
    m_viewData.erase(outer + 1,
                     std::find_if(outer + 1, m_viewData.end(),
                                  [&](const ViewData& other) { return other.item != item; }));
  }
}

template <class Traits>
auto CDupsModel<Traits>::GroupRange(uint32_t group) -> Range {
  const Position first =
      std::partition_point(m_viewData.begin(), m_viewData.end(),
                           [&](const ViewData& row) { return row.item->group < group; });
  const Position end = std::partition_point(
      first, m_viewData.end(), [&](const ViewData& row) { return row.item->group <= group; });
  return {first, end};
}

template <class Traits>
void CDupsModel<Traits>::InnerAdd(PairData* pair) {
  ItemData* a = pair->first;
  ItemData* b = pair->second;
  a->Fold(pair->scores);
  PlaceItem(a, b);
  b->Fold(pair->scores);
  PlaceItem(b, a);
  if (!m_flatMode && a->group != b->group) MergeGroups(a->group, b->group);
  if (m_flatMode || a->expanded) InsertRow({a, pair});
  if (m_flatMode || b->expanded) InsertRow({b, FindPair(b, a)});
}

template <class Traits>
void CDupsModel<Traits>::PlaceItem(ItemData* item, const ItemData* partner) {
  if (item->group) {
    ReplaceItem(item);
    return;
  }
  item->group = !m_flatMode && partner->group ? partner->group : GroupCount() + 1;
  InsertRow({item, nullptr});
}

template <class Traits>
void CDupsModel<Traits>::InsertRow(const ViewData& row) {
  const Range group = GroupRange(row.item->group);
  const Position place =
      std::lower_bound(group.first, group.end, row,
                       [this](const ViewData& a, const ViewData& b) { return RowBefore(a, b); });
  const bool leads = place == group.first;
  const auto rows = group.end - group.first;
  const Position added = m_viewData.insert(place, row);
  if (leads) PlaceGroup({added, added + rows + 1});
}

template <class Traits>
auto CDupsModel<Traits>::GroupPlace(const ItemData& leader, Position first, Position end)
    -> Position {
  const RowKey key = KeyOf(leader);
  while (first != end) {
    const Position middle = first + (end - first) / 2;
    const uint32_t group = middle->item->group;
    const Position start = std::partition_point(
        first, middle, [&](const ViewData& row) { return row.item->group < group; });
    if (Before(KeyOf(*start->item), key)) {
      first = std::partition_point(middle, end,
                                   [&](const ViewData& row) { return row.item->group <= group; });
    } else {
      end = start;
    }
  }
  return first;
}

template <class Traits>
void CDupsModel<Traits>::AddToGroups(Position first, Position end, int32_t step) {
  for (; first != end; ++first) {
    if (!first->pair) first->item->group += static_cast<uint32_t>(step);
  }
}

template <class Traits>
void CDupsModel<Traits>::PlaceGroup(Range group) {
  const ItemData& leader = *group.first->item;
  const auto renumber = [&](uint32_t number) {
    for (Position row = group.first; row != group.end; ++row) row->item->group = number;
  };
  const Position above = GroupPlace(leader, m_viewData.begin(), group.first);
  if (above != group.first) {
    renumber(above->item->group);
    AddToGroups(above, group.first, 1);
    std::rotate(above, group.first, group.end);
    return;
  }
  const Position below = GroupPlace(leader, group.end, m_viewData.end());
  if (below != group.end) {
    renumber((below - 1)->item->group);
    AddToGroups(group.end, below, -1);
    std::rotate(group.first, group.end, below);
  }
}

template <class Traits>
void CDupsModel<Traits>::ReplaceItem(ItemData* item) {
  const auto before = [this](const ViewData& a, const ViewData& b) { return RowBefore(a, b); };
  const Range group = GroupRange(item->group);
  const Position first =
      std::find_if(group.first, group.end, [&](const ViewData& row) { return row.item == item; });
  const Position end =
      std::find_if(first, group.end, [&](const ViewData& row) { return row.item != item; });
  const ViewData outer{item, nullptr};
  const Position above = std::lower_bound(group.first, first, outer, before);
  if (above != first) {
    std::rotate(above, first, end);
  } else {
    const Position below = std::lower_bound(end, group.end, outer, before);
    if (below != end) std::rotate(first, end, below);
  }
  PlaceGroup(group);
}

// The rows of both groups become one group at the place of the lower one. That is its right place:
// the lower group's first item leads the merged group too.
template <class Traits>
void CDupsModel<Traits>::MergeGroups(uint32_t a, uint32_t b) {
  const Range low = GroupRange(std::min(a, b));
  const Range high = GroupRange(std::max(a, b));
  for (Position row = high.first; row != high.end; ++row) row->item->group = std::min(a, b);
  AddToGroups(high.end, m_viewData.end(), -1);
  std::rotate(low.end, high.first, high.end);
  std::inplace_merge(low.first, low.end, low.end + (high.end - high.first),
                     [this](const ViewData& x, const ViewData& y) { return RowBefore(x, y); });
}

}  // namespace quill
