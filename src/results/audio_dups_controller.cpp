// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/audio_dups_controller.h"

#include "core/system_error.h"
#include "results/format_text.h"

namespace quill {

template class CDupsModel<AudioDupsTraits>;

size_t AudioDupsTraits::ScoreOf(FieldId column) {
  switch (column) {
    case FieldId::kTags:
      return kTags;
    case FieldId::kContent:
      return kContent;
    case FieldId::kPrecise:
      return kPrecise;
    default:
      return kScores;
  }
}

FileKey AudioDupsTraits::KeyOf(FieldId column, const ItemBase& base) {
  switch (column) {
    case FieldId::kArtist:
      return FileKey(base.artist);
    case FieldId::kTitle:
      return FileKey(base.title);
    case FieldId::kAlbum:
      return FileKey(base.album);
    case FieldId::kFormat:
      return FileKey(std::string_view(AudioFormatText(base.format)));
    case FieldId::kDuration:
      return FileKey(base.durationMs);
    case FieldId::kBitrate:
      return FileKey(base.bitrate);
    default:
      return {};
  }
}

void AudioDupsTraits::JournalItem(CResultsJournal& journal, const ItemBase& base,
                                  uint8_t folderGroup) {
  journal.AddAudioItem({base, folderGroup});
}

void AudioDupsTraits::JournalPair(CResultsJournal& journal, std::string_view first,
                                  std::string_view second, const Scores& scores) {
  journal.AddAudioPair(first, second, scores[kTags], scores[kContent], scores[kPrecise]);
}

void AudioDupsTraits::JournalRemoval(CResultsJournal& journal, std::string_view first,
                                     std::string_view second) {
  journal.RemoveAudioPair(first, second);
}

void AudioDupsTraits::JournalChange(CResultsJournal& journal, const ItemBase& before,
                                    const ItemBase& now) {
  journal.ChangeAudioItem(before.path, now.path, now.artist, now.album, now.title);
}

CAudioDupsController::CAudioDupsController(const CAudioStore& store, CIgnoreList& ignores)
    : CDupsModel(ignores), m_store(store) {}

void CAudioDupsController::RemovePaths(const std::vector<std::string>& paths) {
  RemoveFiles(paths);
}

bool CAudioDupsController::BulkAdd(const AudioItemRecord& item) {
  if (FindItem(item.path)) return true;
  CRef<const ItemBase> base = m_store.GetCache(item);
  if (!base || !InsertJournaled(std::move(base), item.group)) {
    return CSystemError::Bool("BulkAdd", 1, false);
  }
  return true;
}

bool CAudioDupsController::BulkAdd(std::string_view first, std::string_view second, float tags,
                                   float content, float precise) {
  return BulkAddPair(first, second, {tags, content, precise});
}

bool CAudioDupsController::BulkRemove(std::string_view first, std::string_view second) {
  return BulkRemovePair(first, second);
}

bool CAudioDupsController::BulkChange(std::string_view oldPath, std::string_view newPath,
                                      std::string_view artist, std::string_view album,
                                      std::string_view title) {
  ItemData* item = FindItem(oldPath);
  if (!item || !ChangeJournaled(item, Changed(*item->base, newPath, artist, album, title))) {
    return CSystemError::Bool("BulkChange", 1, false);
  }
  return true;
}

bool CAudioDupsController::WriteResults(CResultsJournal& journal) {
  WriteAll(journal);
  return true;
}

CRef<const ItemBase> CAudioDupsController::Changed(const ItemBase& base, std::string_view path,
                                                   std::string_view artist, std::string_view album,
                                                   std::string_view title) const {
  AudioFacts facts = base;
  facts.path = path;
  facts.artist = artist;
  facts.album = album;
  facts.title = title;
  return m_store.GetCache(facts);
}

CRef<const ItemBase> CAudioDupsController::WithPath(const ItemBase& base, const std::string& path) {
  return Changed(base, path, base.artist, base.album, base.title);
}

void CAudioDupsController::FilesRemoved(const std::vector<std::string>& paths) {
  if (m_controller) m_controller->RemovePaths(paths);
}

void CAudioDupsController::FilesSwapped(const std::string& first, const std::string& second) {
  if (m_controller) m_controller->SwapPaths(first, second);
}

void CAudioDupsController::FileChanged(const ItemBase& before, const ItemBase& now) {
  if (m_controller) {
    m_controller->ChangePath(before.path, now.path, now.artist, now.album, now.title);
  }
}

void CAudioDupsController::Analyse(const CUniqueList<ItemData>& items) {
  if (!m_workers) return;
  for (const ItemData* item : items) m_workers->RequestAnalysis(item->base->path);
}

void CAudioDupsController::AnalyseRows(const Rows& rows) {
  Analyse(FilesOf(rows));
}

void CAudioDupsController::AnalyseMarked() {
  Analyse(MarkedFiles());
}

void CAudioDupsController::AnalyseAll() {
  if (!m_workers) return;
  if (m_controller) m_controller->Clear();
  for (const ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item)) {
    m_workers->RequestAnalysis(item->base->path);
  }
}

bool CAudioDupsController::FillPairs(std::string_view path, std::vector<std::string>* out) const {
  if (!out) return CSystemError::Bool("FillPairs", 1, false);
  out->clear();
  const ItemData* item = FindItem(path);
  if (!item) return false;
  for (const PairData* pair : SortedPairs(item)) out->push_back(pair->second->base->path);
  return true;
}

bool CAudioDupsController::Update(std::string_view path, std::string_view artist,
                                  std::string_view album, std::string_view title) {
  ItemData* item = FindItem(path);
  if (!item) return CSystemError::Bool("Update", 1, false);
  const CRef<const ItemBase> before = item->base;
  if (!ChangeJournaled(item, Changed(*before, before->path, artist, album, title))) {
    return CSystemError::Bool("Update", 2, false);
  }
  RebuildIfSortedBy({FieldId::kArtist, FieldId::kTitle, FieldId::kAlbum});
  FileChanged(*before, *item->base);
  return true;
}

bool CAudioDupsController::Rename(std::string_view oldPath, std::string_view newPath) {
  ItemData* item = FindItem(oldPath);
  if (!item) return CSystemError::Bool("Rename", 1, false);
  const CRef<const ItemBase> before = item->base;
  if (!ChangeJournaled(item,
                       Changed(*before, newPath, before->artist, before->album, before->title))) {
    return CSystemError::Bool("Rename", 2, false);
  }
  RebuildIfSortedBy({FieldId::kFile, FieldId::kFolder, FieldId::kFilename});
  FileChanged(*before, *item->base);
  return true;
}

}  // namespace quill
