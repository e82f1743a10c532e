// The model behind a duplicates table, shared by audio and images: every file that takes part in a
// match (an item), every match (a pair, held in both directions), and the flat array of rows made
// from them, kept sorted and grouped while workers report new pairs. In grouped mode a group is a
// connected component of the match graph; in flat mode every item is a group of its own.
//
// Workers touch the pending list only (under m_sync, through the derived LockedAdd); all the rest
// belongs to the main thread. Pairs and rows hold raw pointers to items, whose addresses stay
// valid as long as they are in m_items.
//
// Invariants of the rows after every operation:
//  1. group numbers are 1, 2, … N with no gaps and rise along the array;
//  2. the rows of a group are contiguous, and so are the rows of an item: its outer row, then its
//     inner rows;
//  3. inner rows stand in pair order, items of a group in item order, groups in the item order of
//     their first item (a merged group may wait for its place until a later change);
//  4. an item has exactly one outer row once its group is not 0; inner rows exist always in flat
//     mode, and for expanded items only in grouped mode.
//
// `Traits` says what differs: the record (`Base`), the number of scores and their columns, the
// comparison by column, and the journal's record types.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/reference.h"
#include "core/sync.h"
#include "results/field_id.h"
#include "storage/ignore_list.h"
#include "storage/results_journal.h"
#include "storage/robust_tree.h"

namespace quill {

template <class Traits>
class CDupsModel {
 public:
  using Base = typename Traits::Base;
  static constexpr size_t kScores = Traits::kScores;
  using Scores = std::array<float, kScores>;

  // One file in the results, a node of m_items.
  struct ItemData {
    CRef<const Base> base;
    uint8_t folderGroup = 0;  // the group of the folder that the file was found under; 0 is none
    bool marked = false;      // for a bulk action
    bool expanded = false;    // grouped mode: the item's inner rows are in the table
    uint32_t group = 0;       // number of the table group; 0 while the item has no row
    uint32_t pairs = 0;       // pairs in which the item is the first member
    Scores minimum;           // over the item's pairs; 1.0 without any
    Scores maximum;           // limited to 1.0; -10.0 without any
  };

  // A match seen from one side, a node of m_pairs.
  struct PairData {
    ItemData* first = nullptr;
    ItemData* second = nullptr;
    Scores scores{};  // below 0: not computed
  };

  // One row. With `pair` null it is an outer row, which shows `item`; otherwise an inner row below
  // it, which shows pair->second.
  struct ViewData {
    ItemData* item = nullptr;
    PairData* pair = nullptr;
    [[nodiscard]] ItemData* File() const { return pair ? pair->second : item; }
  };

  // A pair on its way from a worker to the model.
  struct InsertData {
    CRef<const Base> first, second;
    uint8_t firstGroup = 0, secondGroup = 0;
    Scores scores{};
  };

  using Rows = std::vector<int32_t>;
  // Acts on the files; true if the model is to follow.
  using FilesCallback = std::function<bool(const std::vector<std::string>& paths)>;
  using SwapFunction = std::function<bool(const std::string& first, const std::string& second)>;

  struct Statistics {
    uint32_t count = 0;  // pairs
    // 1.0, -10.0 and 0 with no pairs.
    Scores minimum, maximum, mean;
  };

  // Called with no lock held each time the pending list stops being empty; set before any worker
  // runs. It is to have ProcessNewData called on the main thread.
  std::function<void()> m_callback;

  // ---- the table, for views; main thread
  [[nodiscard]] size_t RowCount() const { return m_viewData.size(); }
  // Null after a report for a row outside the table.
  [[nodiscard]] const ViewData* TableAt(int32_t row) const;
  // First and last row (inclusive) of the row's group; either output may be null.
  [[nodiscard]] bool TableRange(int32_t row, int32_t* first, int32_t* last) const;
  [[nodiscard]] bool IsFlat() const { return m_flatMode; }
  // True for an outer row, with the item's expanded flag.
  [[nodiscard]] bool IsGroup(int32_t row, bool* expanded) const;
  // Number of groups: the group of the last row.
  [[nodiscard]] uint32_t GroupCount() const;
  [[nodiscard]] Statistics GetStatistics() const;
  [[nodiscard]] uint32_t ItemCount() const { return m_items.Count(); }

 protected:
  CRobustTree<ItemData, typename Traits::ItemOrder> m_items;
  CRobustTree<PairData, typename Traits::PairOrder> m_pairs;
  std::vector<ViewData> m_viewData;  // the rows, in table order
  SortState m_sort;
  bool m_flatMode = false;
  CSync m_sync;
  std::list<InsertData> m_pairsNew GUARDED_BY(m_sync);  // found, not yet in the model
};

}  // namespace quill
