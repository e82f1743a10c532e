// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/row_memory.h"

#include <algorithm>
#include <bit>

namespace quill {

namespace {

// How far a row that has gone looks for one that is left. A larger removal takes the view to
// another place anyway.
constexpr int32_t kReach = 1000;

size_t CountOf(std::span<const uint8_t> selected) {
  return static_cast<size_t>(
      std::count_if(selected.begin(), selected.end(), [](uint8_t flag) { return flag != 0; }));
}

}  // namespace

CRowIndex::CRowIndex(size_t count) : m_slots(count ? std::bit_ceil(count * 2) : 0) {}

size_t CRowIndex::SlotOf(const RowKey& key) const {
  const auto mix = [](const void* address) {
    return reinterpret_cast<uintptr_t>(address) * uint64_t{0x9E3779B97F4A7C15};
  };
  const size_t mask = m_slots.size() - 1;
  const uint64_t hash = mix(key.item) + std::rotl(mix(key.pair), 32);
  size_t slot = static_cast<size_t>(hash >> 20) & mask;
  while (m_slots[slot].number >= 0 && m_slots[slot].key != key) slot = (slot + 1) & mask;
  return slot;
}

void CRowIndex::Add(const RowKey& key, int32_t number) {
  Slot& slot = m_slots[SlotOf(key)];
  if (slot.number >= 0) return;
  slot = {key, number};
  ++m_count;
}

int32_t CRowIndex::Find(const RowKey& key) const {
  return m_count ? m_slots[SlotOf(key)].number : -1;
}

CRowMemory::CRowMemory(std::span<const RowKey> keys, std::span<const uint8_t> selected,
                       int32_t current, int32_t anchor)
    : m_selected(CountOf(selected)),
      m_current(Successors(keys, current)),
      m_anchor(Successors(keys, anchor)) {
  for (size_t row = 0; row < selected.size(); ++row) {
    if (selected[row]) m_selected.Add(keys[row], 0);
  }
}

CRowIndex CRowMemory::Successors(std::span<const RowKey> keys, int32_t row) {
  const auto count = static_cast<int32_t>(keys.size());
  if (row < 0 || row >= count) return CRowIndex(0);
  const int32_t end = std::min(count, row + kReach), first = std::max(0, row - kReach);
  CRowIndex index(static_cast<size_t>(end - first));
  int32_t number = 0;
  for (int32_t i = row; i < end; ++i) index.Add(keys[static_cast<size_t>(i)], number++);
  for (int32_t i = row - 1; i >= first; --i) index.Add(keys[static_cast<size_t>(i)], number++);
  return index;
}

auto CRowMemory::FindIn(std::span<const RowKey> keys) const -> Found {
  Found found;
  int32_t bestCurrent = INT32_MAX, bestAnchor = INT32_MAX;
  const auto follow = [](const CRowIndex& index, const RowKey& key, int32_t row, int32_t* best,
                         int32_t* place) {
    const int32_t number = index.Find(key);
    if (number < 0 || number >= *best) return;
    *best = number;
    *place = row;
  };
  const auto count = static_cast<int32_t>(keys.size());
  for (int32_t row = 0; row < count; ++row) {
    const RowKey& key = keys[static_cast<size_t>(row)];
    if (m_selected.Find(key) >= 0) {
      if (!found.selected.empty() && found.selected.back().last == row - 1) {
        found.selected.back().last = row;
      } else {
        found.selected.push_back({row, row});
      }
    }
    if (bestCurrent) follow(m_current, key, row, &bestCurrent, &found.current);
    if (bestAnchor) follow(m_anchor, key, row, &bestAnchor, &found.anchor);
  }
  return found;
}

}  // namespace quill
