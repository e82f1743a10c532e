// SPDX-License-Identifier: GPL-3.0-or-later
// The model of the audio quality table: one row per analysed file, with no pairs and no groups. It
// also holds the rating by which the audio automark chooses between two files, and the values that
// the duplicates table shows in the columns it shares with this one. The two tables follow each
// other's changes of files through m_controller, one to each side.
//
// Workers call LockedAdd only (under m_sync); all the rest belongs to the main thread. Rows are
// plain pointers to the nodes of m_items and stay valid as long as their node.
#pragma once

#include <functional>
#include <initializer_list>
#include <list>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "audio/analysis_sink.h"
#include "audio/analysis_store.h"
#include "core/sync.h"
#include "results/field_id.h"
#include "results/partners.h"
#include "results/rating.h"
#include "storage/ignore_list.h"
#include "storage/results_journal.h"
#include "storage/robust_tree.h"

namespace quill {

class CAudioAnalysisController : public CAnalysisSink,
                                 public CAnalysisResultsTable,
                                 public CPartnerTable {
 public:
  // A node of m_items.
  struct ItemData {
    CRef<const AnalysisInfo> base;
    float rating = 0;
    bool marked = false;
  };
  using Rows = std::vector<int32_t>;

  // Reads the sort state from the settings. Both must outlive the controller.
  CAudioAnalysisController(const CAnalysisStore& store, CIgnoreList& ignores);
  CAudioAnalysisController(const CAudioAnalysisController&) = delete;
  CAudioAnalysisController& operator=(const CAudioAnalysisController&) = delete;

  // The duplicates model of the same window: told of every removal of files; may be null. Not
  // owned.
  CRemovalFollower* m_controller = nullptr;
  // Called with no lock held each time the pending list stops being empty; set before any worker
  // runs. It is to have ProcessNewData called on the main thread.
  std::function<void()> m_callback;
  // Where each change is written; may be null. Not owned.
  CResultsJournal* m_journal = nullptr;

  // CAnalysisSink
  bool LockedAdd(const CRef<const AnalysisInfo>& info) override EXCLUDES(m_sync);

  // ---- the table, for views; main thread, like all below
  [[nodiscard]] size_t RowCount() const { return m_viewData.size(); }
  // Null after a report for a row outside the table.
  [[nodiscard]] const ItemData* TableAt(int32_t row) const;
  // Null when the path is unknown: for the shared columns of the duplicates table and the automark.
  [[nodiscard]] const ItemData* FindItem(std::string_view path) const { return m_items.Find(path); }
  [[nodiscard]] SortState Sort() const { return m_sort; }
  // Sorts and stores the state in the settings; kNone is ignored.
  void SetSort(FieldId column, bool ascending);
  // Takes the pending records into the table. A path that is present already drops the new record,
  // so that a file analysed twice keeps its first result.
  bool ProcessNewData();

  // ---- actions; rows outside the table are skipped
  void MarkRows(const Rows& rows);
  void UnmarkAll();
  void InvertMarked();
  // The files go to the list of single ignored files and leave the table.
  void IgnoreRows(const Rows& rows);
  void IgnoreMarked();
  // Hands the files to `callback`, in the order of the rows, and removes them from the table, and
  // from the partner's, when it says so. True if the table has changed.
  bool ActOnRows(const Rows& rows, const FilesCallback& callback);
  bool ActOnMarked(const FilesCallback& callback);

  // CPartnerTable: what the duplicates table does to files. Unknown paths are passed over. Clear
  // forgets everything, pending records and what the journal has of this table too.
  void RemovePaths(const std::vector<std::string>& paths) override;
  void ChangePath(std::string_view oldPath, std::string_view newPath, std::string_view artist,
                  std::string_view album, std::string_view title) override;
  void SwapPaths(std::string_view first, std::string_view second) override;
  void Clear() override;

  // CAnalysisResultsTable. BulkAdd and BulkRemove leave the rows to RebuildRows.
  bool BulkAdd(const AnalysisItemRecord& item) override;
  bool BulkRemove(std::string_view path) override;
  bool BulkChange(std::string_view oldPath, std::string_view newPath, std::string_view artist,
                  std::string_view album, std::string_view title) override;
  void RebuildRows() override;
  [[nodiscard]] bool WriteResults(CResultsJournal& journal) override;

 private:
  struct FIndexItem {
    static int Compare(std::string_view path, const ItemData& item) {
      return path.compare(item.base->path);
    }
    static int Compare(const ItemData& key, const ItemData& item) {
      return Compare(key.base->path, item);
    }
  };
  struct RowKey;

  [[nodiscard]] RowKey KeyOf(const ItemData& item) const;
  [[nodiscard]] bool Before(const RowKey& a, const RowKey& b) const;
  // All rows anew, in the present order.
  void SortRows();
  [[nodiscard]] bool IsRow(int32_t row) const {
    return row >= 0 && static_cast<size_t>(row) < m_viewData.size();
  }
  [[nodiscard]] Rows MarkedRows() const;
  // The description that the record tells of; null after a report when memory is short.
  [[nodiscard]] CRef<const AnalysisInfo> InfoOf(const AnalysisItemRecord& record) const;
  // Null after a report when memory is short.
  ItemData* InsertJournaled(const CRef<const AnalysisInfo>& info);
  [[nodiscard]] bool ChangeJournaled(ItemData* item, std::string_view newPath,
                                     std::string_view artist, std::string_view album,
                                     std::string_view title);
  void SortRowsIfSortedBy(std::initializer_list<FieldId> columns);
  // Journals the removal of these items, takes them out of the tree and closes the gaps in the
  // rows. The last row goes first.
  void RemoveItems(const std::unordered_set<const ItemData*>& items);
  [[nodiscard]] std::unordered_set<const ItemData*> ItemsOf(
      const std::vector<std::string>& paths) const;

  const CAnalysisStore& m_store;
  CIgnoreList& m_ignores;
  SortState m_sort;
  CRobustTree<ItemData, FIndexItem> m_items;
  std::vector<ItemData*> m_viewData;  // the rows, in table order
  CSync m_sync;
  std::list<ItemData> m_itemsNew GUARDED_BY(m_sync);  // from workers, not yet in the tree
};

}  // namespace quill
