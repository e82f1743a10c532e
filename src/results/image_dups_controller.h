// SPDX-License-Identifier: GPL-3.0-or-later
// The model of the image duplicates table: CDupsModel over ImageInfo with the scores for content
// and experimental. The engine reports pairs through CImagePairSink from worker threads; all the
// rest belongs to the main thread. The journal loads into it through CImageResultsTable; rows
// appear with RebuildRows.
#pragma once

#include <string>
#include <string_view>

#include "image/image_pair_sink.h"
#include "image/image_store.h"
#include "results/dups_model.h"

namespace quill {

struct ImageDupsTraits : ImageScores {
  using Base = ImageInfo;
  using Scores = std::array<float, kScores>;
  static constexpr const char* kSortKey = "imageDupsSort";

  [[nodiscard]] static size_t ScoreOf(FieldId column);
  [[nodiscard]] static FileKey KeyOf(FieldId column, const ImageInfo& base);
  static void JournalItem(CResultsJournal& journal, const ImageInfo& base, uint8_t folderGroup);
  static void JournalPair(CResultsJournal& journal, std::string_view first, std::string_view second,
                          const Scores& scores);
  static void JournalRemoval(CResultsJournal& journal, std::string_view first,
                             std::string_view second);
  static void JournalChange(CResultsJournal& journal, const ImageInfo& before,
                            const ImageInfo& now);
};

class CImageDupsController : public CDupsModel<ImageDupsTraits>, public CImageResultsTable {
 public:
  // Both must outlive the controller.
  CImageDupsController(const CImageStore& store, CIgnoreList& ignores);

  // CImageResultsTable. A path that is present already is a failure.
  bool BulkAdd(const ImageItemRecord& item) override;
  bool BulkAdd(std::string_view first, std::string_view second, float content,
               float experimental) override;
  bool BulkRemove(std::string_view first, std::string_view second) override;
  bool BulkChange(std::string_view oldPath, std::string_view newPath) override;
  void RebuildRows() override { Rebuild(); }
  [[nodiscard]] bool WriteResults(CResultsJournal& journal) override;

 protected:
  CRef<const ImageInfo> WithPath(const ImageInfo& base, const std::string& path) override;

 private:
  const CImageStore& m_store;
};

extern template class CDupsModel<ImageDupsTraits>;

}  // namespace quill
