// SPDX-License-Identifier: GPL-3.0-or-later
// The model behind a duplicates table, shared by audio and images: every file that takes part in a
// match (an item), every match (a pair, held in both directions), and the flat array of rows made
// from them, kept sorted and grouped while workers report new pairs. In grouped mode a group is a
// connected component of the match graph; in flat mode every item is a group of its own.
//
// Workers touch the pending list only (under m_sync, through LockedAdd); all the rest
// belongs to the main thread. Pairs and rows hold raw pointers to items, whose addresses stay
// valid as long as they are in m_items.
//
// Invariants of the rows after every operation, which leave one possible table for a given state:
//  1. group numbers are 1, 2, … N with no gaps and rise along the array;
//  2. the rows of a group are contiguous, and so are the rows of an item: its outer row, then its
//     inner rows;
//  3. inner rows stand in pair order, items of a group in item order, groups in the item order of
//     their first item;
//  4. an item has exactly one outer row once its group is not 0; inner rows exist always in flat
//     mode, and for expanded items only in grouped mode.
// Two roads keep them: pairs that trickle in are placed one by one by binary search and rotation,
// and a larger batch is merged into the table in one pass, which sorts only the items it touches.
// Every other change of order or membership makes all rows anew.
//
// `Traits` says what differs between the tables:
//   using Base                           the counted record of a file, with `path` and `size`
//   kScores                              how many scores a pair carries
//   kSortKey                             the setting that holds the sort state
//   ScoreOf(column)                      index of the score in that column; kScores for none
//   KeyOf(column, base)                  FileKey in the columns that are its own, else an empty one
//   JournalItem(journal, base, group), JournalPair(journal, path, path, scores),
//   JournalRemoval(journal, path, path), JournalChange(journal, old base, new base)
//
// Operations that take rows skip numbers outside the table. Failures are reported under the name of
// the operation and given back as false or null.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <list>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/reference.h"
#include "core/sync.h"
#include "results/field_id.h"
#include "results/partners.h"
#include "results/sort_key.h"
#include "results/unique_list.h"
#include "storage/ignore_list.h"
#include "storage/pair_sink.h"
#include "storage/results_journal.h"
#include "storage/robust_tree.h"

namespace quill {

template <class Traits>
class CDupsModel : public CPairSink<typename Traits::Base, Traits::kScores> {
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
    bool touched = false;     // by the batch in hand
    uint32_t group = 0;       // number of the table group; 0 while the item has no row
    uint32_t pairs = 0;       // pairs in which the item is the first member
    Scores minimum{};         // over the item's pairs; 1.0 without any
    Scores maximum{};         // limited to 1.0; -10.0 without any

    void ResetScores();
    void Fold(const Scores& scores);
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
  using InsertData = FoundPair<Base, kScores>;

  using Rows = std::vector<int32_t>;
  using SwapFunction = std::function<bool(const std::string& first, const std::string& second)>;

  struct Statistics {
    uint32_t count = 0;  // pairs
    // 1.0, -10.0 and 0 with no pairs.
    Scores minimum{}, maximum{}, mean{};
  };

  CDupsModel(const CDupsModel&) = delete;
  CDupsModel& operator=(const CDupsModel&) = delete;

  // Called with no lock held each time the pending list stops being empty; set before any worker
  // runs. It is to have ProcessNewData called on the main thread.
  std::function<void()> m_callback;
  // Where each change is written, in the order of the changes; may be null. Not owned.
  CResultsJournal* m_journal = nullptr;

  // CPairSink. Worker threads.
  bool LockedAdd(InsertData pair) final EXCLUDES(m_sync);

  // ---- the table, for views; main thread, like all below
  [[nodiscard]] size_t RowCount() const { return m_viewData.size(); }
  // Null after a report for a row outside the table.
  [[nodiscard]] const ViewData* TableAt(int32_t row) const;
  // First and last row (inclusive) of the row's group; either output may be null. False after a
  // report for a row outside the table.
  [[nodiscard]] bool TableRange(int32_t row, int32_t* first, int32_t* last) const;
  [[nodiscard]] bool IsFlat() const { return m_flatMode; }
  // True for an outer row, with the item's expanded flag.
  [[nodiscard]] bool IsGroup(int32_t row, bool* expanded) const;
  // Number of groups: the group of the last row.
  [[nodiscard]] uint32_t GroupCount() const;
  [[nodiscard]] Statistics GetStatistics() const;
  [[nodiscard]] uint32_t ItemCount() const { return m_items.Count(); }
  [[nodiscard]] uint32_t PairCount() const { return m_pairs.Count() / 2; }
  // Calls visit(const PairData&) once for each match.
  template <class Visit>
  void ForEachMatch(Visit visit) const {
    for (const PairData* pair = m_pairs.Next(nullptr); pair; pair = m_pairs.Next(pair)) {
      if (CompareAddresses(pair->second, pair->first) >= 0) visit(*pair);
    }
  }
  // Null when the path is unknown.
  [[nodiscard]] const ItemData* LookUp(std::string_view path) const { return FindItem(path); }
  // Calls visit(const ItemData&) once for each file, in the order of the paths.
  template <class Visit>
  void ForEachItem(Visit visit) const {
    for (const ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item))
      visit(*item);
  }
  [[nodiscard]] SortState Sort() const { return m_sort; }

  // Sorts and stores the state in the settings; kNone is ignored.
  void SetSort(FieldId column, bool ascending);
  // Reads the mode again; true if it has changed, and with it all rows.
  [[nodiscard]] bool ReloadSettings();
  // Shows or hides the inner rows of an outer row; does nothing in flat mode.
  void ToggleGroup(int32_t row);
  // Forgets everything, pending pairs and what the journal has of this table too.
  void Clear();

  // Takes the pending pairs into the model. On a failure (a pair that is present already is one)
  // the rest of the batch is dropped.
  bool ProcessNewData();
  // Makes all rows from items and pairs; `expanded` and `marked` survive.
  void Rebuild();

  // ---- actions
  // Flips the mark of each file once, however often it is among the rows.
  void MarkRows(const Rows& rows);
  void UnmarkAll();
  void InvertMarked();
  // Marks these items of this model and no other file.
  void MarkOnly(const std::unordered_set<const ItemData*>& items);
  // An outer row stands for all pairs of its item, an inner row for its pair: they go to the ignore
  // list and leave the model.
  void IgnoreRows(const Rows& rows);
  void IgnoreMarked();
  // Does nothing unless both files and their pair are there.
  void IgnorePair(std::string_view first, std::string_view second);
  // Hands the files to `callback`, in the order of the rows, and removes them from the model when
  // it says so. True if the model has changed.
  bool ActOnRows(const Rows& rows, const FilesCallback& callback);
  bool ActOnMarked(const FilesCallback& callback);
  bool ActOnFile(std::string_view path, const FilesCallback& callback);
  // Of how many groups, in whichever mode, all files are in the list.
  [[nodiscard]] size_t CountWholeGroups(const std::vector<std::string>& paths) const;
  // Two rows of one group that show two files with the same extension, but for case.
  [[nodiscard]] bool CanSwap(const Rows& rows) const;
  // Has `swap` exchange the two files on disk; then each item takes the other's path and keeps its
  // own description, because the content travelled with it.
  bool Swap(const Rows& rows, const SwapFunction& swap);

 protected:
  struct ItemOrder {
    static int Compare(std::string_view path, const ItemData& item) {
      return path.compare(item.base->path);
    }
    static int Compare(const ItemData& key, const ItemData& item) {
      return Compare(key.base->path, item);
    }
  };
  // By the addresses of both items, so that all pairs of one item are neighbours.
  struct PairOrder {
    static int Compare(const ItemData* first, const PairData& pair) {
      return CompareAddresses(first, pair.first);
    }
    static int Compare(const ItemData* first, const ItemData* second, const PairData& pair) {
      const int order = CompareAddresses(first, pair.first);
      return order ? order : CompareAddresses(second, pair.second);
    }
    static int Compare(const PairData& key, const PairData& pair) {
      return Compare(key.first, key.second, pair);
    }
  };

  // Reads the mode and the sort state from the settings. `ignores` must outlive the model.
  explicit CDupsModel(CIgnoreList& ignores);
  ~CDupsModel() override = default;

  // The record of the same file under another path; null after a report when memory is short.
  [[nodiscard]] virtual CRef<const Base> WithPath(const Base& base, const std::string& path) = 0;
  // Told of files that an action has taken out of the model, and of two that have exchanged their
  // places.
  virtual void FilesRemoved(const std::vector<std::string>&) {}
  virtual void FilesSwapped(const std::string& /*first*/, const std::string& /*second*/) {}

  [[nodiscard]] ItemData* FindItem(std::string_view path) const { return m_items.Find(path); }
  [[nodiscard]] PairData* FindPair(const ItemData* first, const ItemData* second) const {
    return m_pairs.Find(first, second);
  }
  // Null after a report when memory is short.
  ItemData* InsertJournaled(CRef<const Base> base, uint8_t folderGroup);
  // Inserts both directions and gives the first; null after a report if the pair is there already
  // or memory is short. Scores and rows of the items stay as they are.
  PairData* InsertJournaled(ItemData* first, ItemData* second, Scores scores);
  // Gives the item its new record and journals that; false after a report if there is none. The
  // rows stay as they are.
  bool ChangeJournaled(ItemData* item, CRef<const Base> changed);
  // For loading: between paths that must be known, with the rows left to RebuildRows.
  bool BulkAddPair(std::string_view first, std::string_view second, const Scores& scores);
  bool BulkRemovePair(std::string_view first, std::string_view second);
  void WriteAll(CResultsJournal& journal) const;
  // Rebuild if the table is sorted by one of these columns.
  void RebuildIfSortedBy(std::initializer_list<FieldId> columns);

  // Takes the files that are there out of the model.
  void RemoveFiles(const std::vector<std::string>& paths);

  // The files that rows show and the marked ones, in row order.
  [[nodiscard]] CUniqueList<ItemData> FilesOf(const Rows& rows) const;
  [[nodiscard]] CUniqueList<ItemData> MarkedFiles() const;
  // Calls visit(PairData*) for each pair with `item` first, by address of the second.
  template <class Visit>
  void ForEachPair(const ItemData* item, Visit visit) const;
  // The item's pairs in the order of the table.
  [[nodiscard]] std::vector<PairData*> SortedPairs(const ItemData* item) const;

  CRobustTree<ItemData, ItemOrder> m_items;
  CRobustTree<PairData, PairOrder> m_pairs;
  std::vector<ViewData> m_viewData;  // the rows, in table order
  SortState m_sort;
  bool m_flatMode = false;
  CSync m_sync;
  std::list<InsertData> m_pairsNew GUARDED_BY(m_sync);  // found, not yet in the model

 private:
  using Position = typename std::vector<ViewData>::iterator;
  struct Range {
    Position first, end;
  };
  // Pairs in one batch from which one pass over the table is quicker than placing each: with large
  // groups both cost about the same there, in tables of 1000 to 100000 pairs.
  static constexpr size_t kBatch = 32;

  static int CompareAddresses(const ItemData* a, const ItemData* b) {
    return a == b ? 0 : std::less<>()(a, b) ? -1 : 1;
  }

  // ---- order (dups_order_inl.h)
  struct RowKey;
  [[nodiscard]] RowKey KeyOf(const ItemData& item, const Scores& scores) const;
  [[nodiscard]] RowKey KeyOf(const ItemData& item) const { return KeyOf(item, item.maximum); }
  [[nodiscard]] RowKey KeyOf(const PairData& pair) const {
    return KeyOf(*pair.second, pair.scores);
  }
  // The total orders of items and of pairs below one item, in the direction of the table.
  [[nodiscard]] bool Before(const RowKey& a, const RowKey& b) const;
  [[nodiscard]] bool RowBefore(const ViewData& a, const ViewData& b) const;
  // Sorts by key(record), drawn once for each record.
  template <class Iterator, class Key>
  void SortByKey(Iterator first, Iterator end, Key key) const;

  // ---- rows (dups_rows_inl.h)
  [[nodiscard]] bool IsRow(int32_t row) const {
    return row >= 0 && static_cast<size_t>(row) < m_viewData.size();
  }
  [[nodiscard]] Range GroupRange(uint32_t group);
  // Brings a pair that is new in m_pairs into scores and rows.
  void InnerAdd(PairData* pair);
  // Gives an item without a row its outer row, in the group of its partner or a new one; an item
  // with rows may have got another place by its scores.
  void PlaceItem(ItemData* item, const ItemData* partner);
  // Into the rows of its item's group, and the group to its place if the row leads it.
  void InsertRow(const ViewData& row);
  // Moves the block of an item whose scores have changed within its group, and the group.
  void ReplaceItem(ItemData* item);
  // Moves a group to where its first item belongs, and renumbers those passed.
  void PlaceGroup(Range group);
  void MergeGroups(uint32_t a, uint32_t b);
  // Lower bound among the groups that fill [first, end) for a group led by `leader`.
  [[nodiscard]] Position GroupPlace(const ItemData& leader, Position first, Position end);
  // To the group numbers of the outer rows.
  void AddToGroups(Position first, Position end, int32_t step);

  // ---- many rows at once (dups_batch_inl.h)
  struct FreshGroup;
  // Folds the scores of these pairs, of which each stands for both directions, into their items and
  // gives them their rows.
  void PlaceBatch(const std::vector<PairData*>& pairs);
  // The outer row of the item, and its inner rows as far as they are shown.
  void AppendRows(ItemData* item, std::vector<ViewData>* rows) const;

  // ---- actions (dups_actions_inl.h)
  void RemovePair(PairData* pair);
  void RemoveSets(const CUniqueList<ItemData>& items, const CUniqueList<PairData>& pairs);
  void IgnoreAndRemove(const CUniqueList<ItemData>& items, const CUniqueList<PairData>& pairs);
  bool ActOnFiles(const CUniqueList<ItemData>& items, const FilesCallback& callback);

  CIgnoreList& m_ignores;
};

}  // namespace quill

#include "results/dups_actions_inl.h"
#include "results/dups_batch_inl.h"
#include "results/dups_insert_inl.h"
#include "results/dups_order_inl.h"
#include "results/dups_rows_inl.h"
