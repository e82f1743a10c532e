// SPDX-License-Identifier: GPL-3.0-or-later
// The model of the audio duplicates table: CDupsModel over ItemBase with the scores for tags,
// content and precise. Beyond the shared model it follows edits of tags and names, asks for the
// analysis of files, and keeps the analysis table of the same window informed. The engine reports
// pairs through CAudioPairSink from worker threads; all the rest belongs to the main thread. The
// journal loads into it through CAudioResultsTable; rows appear with RebuildRows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "audio/audio_store.h"
#include "audio/pair_sink.h"
#include "results/dups_model.h"
#include "results/partners.h"

namespace quill {

struct AudioDupsTraits : AudioScores {
  using Base = ItemBase;
  using Scores = std::array<float, kScores>;
  static constexpr const char* kSortKey = "audioDupsSort";

  [[nodiscard]] static size_t ScoreOf(FieldId column);
  [[nodiscard]] static FileKey KeyOf(FieldId column, const ItemBase& base);
  static void JournalItem(CResultsJournal& journal, const ItemBase& base, uint8_t folderGroup);
  static void JournalPair(CResultsJournal& journal, std::string_view first, std::string_view second,
                          const Scores& scores);
  static void JournalRemoval(CResultsJournal& journal, std::string_view first,
                             std::string_view second);
  static void JournalChange(CResultsJournal& journal, const ItemBase& before, const ItemBase& now);
};

class CAudioDupsController : public CDupsModel<AudioDupsTraits>,
                             public CRemovalFollower,
                             public CAudioResultsTable {
 public:
  // Both must outlive the controller.
  CAudioDupsController(const CAudioStore& store, CIgnoreList& ignores);

  // Told of every path and tag change and of every removal of files; may be null. Not owned.
  CPartnerTable* m_controller = nullptr;
  // Where wishes for analysis go; may be null, and then there are none. Not owned.
  CAnalysisRequests* m_workers = nullptr;

  // CRemovalFollower: the files that the analysis table's user has removed.
  void RemovePaths(const std::vector<std::string>& paths) override;

  // CAudioResultsTable. A path that is present already is no failure.
  bool BulkAdd(const AudioItemRecord& item) override;
  bool BulkAdd(std::string_view first, std::string_view second, float tags, float content,
               float precise) override;
  bool BulkRemove(std::string_view first, std::string_view second) override;
  bool BulkChange(std::string_view oldPath, std::string_view newPath, std::string_view artist,
                  std::string_view album, std::string_view title) override;
  void RebuildRows() override { Rebuild(); }
  [[nodiscard]] bool WriteResults(CResultsJournal& journal) override;

  // One request for each file among the rows.
  void AnalyseRows(const Rows& rows);
  void AnalyseMarked();
  // Empties the analysis table first.
  void AnalyseAll();
  // The paths of the item's partners in the order of its inner rows. False when the path is
  // unknown, with `out` emptied; a report for a null `out`.
  [[nodiscard]] bool FillPairs(std::string_view path, std::vector<std::string>* out) const;
  // The file has other tags, or another path, now. False after a report when it is unknown or
  // memory is short; the old record then stays.
  bool Update(std::string_view path, std::string_view artist, std::string_view album,
              std::string_view title);
  bool Rename(std::string_view oldPath, std::string_view newPath);

 protected:
  CRef<const ItemBase> WithPath(const ItemBase& base, const std::string& path) override;
  void FilesRemoved(const std::vector<std::string>& paths) override;
  void FilesSwapped(const std::string& first, const std::string& second) override;

 private:
  void FileChanged(const ItemBase& before, const ItemBase& now);
  // The record of the same content under another path and other tags.
  [[nodiscard]] CRef<const ItemBase> Changed(const ItemBase& base, std::string_view path,
                                             std::string_view artist, std::string_view album,
                                             std::string_view title) const;
  void Analyse(const CUniqueList<ItemData>& items);

  const CAudioStore& m_store;
};

extern template class CDupsModel<AudioDupsTraits>;

}  // namespace quill
