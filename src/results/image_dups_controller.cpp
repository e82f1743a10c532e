// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/image_dups_controller.h"

#include "core/system_error.h"

namespace quill {

template class CDupsModel<ImageDupsTraits>;

size_t ImageDupsTraits::ScoreOf(FieldId column) {
  switch (column) {
    case FieldId::kContent:
      return kContent;
    case FieldId::kExperimental:
      return kExperimental;
    default:
      return kScores;
  }
}

FileKey ImageDupsTraits::KeyOf(FieldId column, const ImageInfo& base) {
  switch (column) {
    case FieldId::kFormat:
      return FileKey(uint64_t{base.format} << 8 | base.bits);
    case FieldId::kResolution:
      // Wraps at 32 bits.
      return FileKey(base.width * base.height);
    default:
      return {};
  }
}

void ImageDupsTraits::JournalItem(CResultsJournal& journal, const ImageInfo& base,
                                  uint8_t folderGroup) {
  journal.AddImageItem({base, folderGroup});
}

void ImageDupsTraits::JournalPair(CResultsJournal& journal, std::string_view first,
                                  std::string_view second, const Scores& scores) {
  journal.AddImagePair(first, second, scores[kContent], scores[kExperimental]);
}

void ImageDupsTraits::JournalRemoval(CResultsJournal& journal, std::string_view first,
                                     std::string_view second) {
  journal.RemoveImagePair(first, second);
}

void ImageDupsTraits::JournalChange(CResultsJournal& journal, const ImageInfo& before,
                                    const ImageInfo& now) {
  journal.ChangeImageItem(before.path, now.path);
}

CImageDupsController::CImageDupsController(const CImageStore& store, CIgnoreList& ignores)
    : CDupsModel(ignores), m_store(store) {}

bool CImageDupsController::BulkAdd(const ImageItemRecord& item) {
  if (FindItem(item.path)) return CSystemError::Bool("BulkAdd", 1, false);
  CRef<const ImageInfo> base = m_store.GetCache(item);
  if (!base || !InsertJournaled(std::move(base), item.group)) {
    return CSystemError::Bool("BulkAdd", 3, false);
  }
  return true;
}

bool CImageDupsController::BulkAdd(std::string_view first, std::string_view second, float content,
                                   float experimental) {
  return BulkAddPair(first, second, {content, experimental});
}

bool CImageDupsController::BulkRemove(std::string_view first, std::string_view second) {
  return BulkRemovePair(first, second);
}

bool CImageDupsController::BulkChange(std::string_view oldPath, std::string_view newPath) {
  ItemData* item = FindItem(oldPath);
  if (!item || !ChangeJournaled(item, WithPath(*item->base, std::string(newPath)))) {
    return CSystemError::Bool("BulkChange", 1, false);
  }
  return true;
}

bool CImageDupsController::WriteResults(CResultsJournal& journal) {
  WriteAll(journal);
  return true;
}

CRef<const ImageInfo> CImageDupsController::WithPath(const ImageInfo& base,
                                                     const std::string& path) {
  ImageFacts facts = base;
  facts.path = path;
  return m_store.GetCache(facts);
}

}  // namespace quill
