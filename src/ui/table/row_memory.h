// SPDX-License-Identifier: GPL-3.0-or-later
// Remembers which rows of a table were selected, which one was current and which one stands still
// on screen, and finds them again among other rows: a scan inserts them by the hundred, a sort
// shuffles them, an action removes some. Linear in the number of rows. No Qt; one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quill {

// The identity of a row: addresses of the engine's records, never followed.
struct RowKey {
  const void* item = nullptr;
  const void* pair = nullptr;
  bool operator==(const RowKey&) const = default;
};

struct RowRange {
  int32_t first = 0, last = 0;  // inclusive
  bool operator==(const RowRange&) const = default;
};

// A set of keys with a number each; the first number of a key stays.
class CRowIndex {
 public:
  explicit CRowIndex(size_t count);
  void Add(const RowKey& key, int32_t number);
  [[nodiscard]] bool IsEmpty() const { return m_count == 0; }
  // -1 for a key that is not there.
  [[nodiscard]] int32_t Find(const RowKey& key) const;

 private:
  struct Slot {
    RowKey key;
    int32_t number = -1;
  };
  [[nodiscard]] size_t SlotOf(const RowKey& key) const;

  std::vector<Slot> m_slots;  // open addressing, a power of two, at most half full
  size_t m_count = 0;
};

class CRowMemory {
 public:
  // `selected` is as long as `keys`, not 0 for a selected row. `current` and `anchor` are rows, or
  // -1 for none.
  CRowMemory(std::span<const RowKey> keys, std::span<const uint8_t> selected, int32_t current,
             int32_t anchor);

  struct Found {
    std::vector<RowRange> selected;
    // Where these rows are now. Of a row that has gone: the nearest one below it that is left, else
    // the nearest one above it; -1 when none of them is left.
    int32_t current = -1, anchor = -1;
  };
  [[nodiscard]] Found FindIn(std::span<const RowKey> keys) const;

 private:
  // A row and those that may stand in for it, the best one first.
  [[nodiscard]] static CRowIndex Successors(std::span<const RowKey> keys, int32_t row);

  CRowIndex m_selected;
  CRowIndex m_current, m_anchor;
};

}  // namespace quill
