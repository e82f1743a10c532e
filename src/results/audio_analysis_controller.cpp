// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/audio_analysis_controller.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "core/configuration.h"
#include "core/system_error.h"
#include "results/format_text.h"
#include "results/path_parts.h"
#include "results/sort_key.h"

namespace quill {

namespace {

constexpr const char* kSortKey = "audioAnalysisSort";
// By rating, the worst files first.
constexpr SortState kFirstSort{FieldId::kRating, true};
// A batch larger than this part of the table sorts all rows in less time than placing each takes.
constexpr size_t kBatchShare = 32;

AnalysisItemRecord RecordOf(const AnalysisInfo& info) {
  AnalysisItemRecord record;
  record.path = info.path;
  record.artist = info.artist;
  record.album = info.album;
  record.title = info.title;
  record.size = info.size;
  record.durationMs = info.durationMs;
  record.bitrate = info.bitrate;
  record.sampleRate = info.sampleRate;
  record.dataFormat = info.dataFormat;
  record.channels = info.channels;
  record.format = info.format;
  record.measures = {info.clipping, info.silence, info.absMean, info.minStep,
                     info.absMax,   info.maxFreq, info.clicks};
  record.averageSpectrum = info.averageSpectrum;
  record.peakSpectrum = info.peakSpectrum;
  return record;
}

void FillInfo(const AnalysisItemRecord& record, AnalysisInfo* info) {
  info->path = record.path;
  info->artist = record.artist;
  info->album = record.album;
  info->title = record.title;
  info->size = record.size;
  info->durationMs = record.durationMs;
  info->bitrate = record.bitrate;
  info->sampleRate = record.sampleRate;
  info->dataFormat = record.dataFormat;
  info->channels = record.channels;
  info->format = record.format;
  float* const measures[] = {&info->clipping, &info->silence, &info->absMean, &info->minStep,
                             &info->absMax,   &info->maxFreq, &info->clicks};
  for (size_t i = 0; i < record.measures.size(); ++i) *measures[i] = record.measures[i];
  info->averageSpectrum = record.averageSpectrum;
  info->peakSpectrum = record.peakSpectrum;
}

}  // namespace

// A measure or a FileKey, whichever the column has; at last the address, which makes the order
// total.
struct CAudioAnalysisController::RowKey {
  float value = 0;
  FileKey file;
  const ItemData* item;

  [[nodiscard]] int Compare(const RowKey& other) const {
    int order = CompareValues(value, other.value);
    if (!order) order = file.Compare(other.file);
    return order ? order : CompareValues(item, other.item);
  }
};

CAudioAnalysisController::CAudioAnalysisController(const CAnalysisStore& store,
                                                   CIgnoreList& ignores)
    : m_store(store),
      m_ignores(ignores),
      m_sort(
          SortState::Decode(CConfiguration::Instance().GetInteger(kSortKey, kFirstSort.Encode()))) {
}

auto CAudioAnalysisController::KeyOf(const ItemData& item) const -> RowKey {
  const AnalysisInfo& info = *item.base;
  // No number at all, as broken samples may measure, would have no place in any order.
  const auto measure = [&](float value) {
    return RowKey{std::isnan(value) ? -1.0F : value, {}, &item};
  };
  const auto file = [&](auto value) { return RowKey{0, FileKey(value), &item}; };
  const std::string_view path = info.path;
  switch (m_sort.column) {
    case FieldId::kFile:
      return file(path);
    case FieldId::kFolder:
      return file(FolderPart(path));
    case FieldId::kFilename:
      return file(NamePart(path));
    case FieldId::kArtist:
      return file(std::string_view(info.artist));
    case FieldId::kTitle:
      return file(std::string_view(info.title));
    case FieldId::kAlbum:
      return file(std::string_view(info.album));
    case FieldId::kSize:
      return file(info.size);
    case FieldId::kFormat:
      return file(std::string_view(AudioFormatText(info.format)));
    case FieldId::kDuration:
      return file(uint64_t{info.durationMs});
    case FieldId::kBitrate:
      return file(uint64_t{info.bitrate});
    case FieldId::kRating:
      return measure(item.rating);
    case FieldId::kSampleRate:
      return file(uint64_t{info.sampleRate});
    case FieldId::kChannels:
      return file(uint64_t{info.channels});
    case FieldId::kClipping:
      return measure(info.clipping);
    case FieldId::kSilence:
      return measure(info.silence);
    case FieldId::kAbsMean:
      return measure(info.absMean);
    case FieldId::kMinStep:
      return measure(info.minStep);
    case FieldId::kAbsMax:
      return measure(info.absMax);
    case FieldId::kMaxFreq:
      return measure(info.maxFreq);
    case FieldId::kClicks:
      return measure(info.clicks);
    default:
      return RowKey{0, {}, &item};
  }
}

bool CAudioAnalysisController::Before(const RowKey& a, const RowKey& b) const {
  return m_sort.ascending ? a.Compare(b) < 0 : b.Compare(a) < 0;
}

void CAudioAnalysisController::SortRows() {
  std::vector<std::pair<RowKey, ItemData*>> keyed;
  keyed.reserve(m_items.Count());
  for (ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item))
    keyed.emplace_back(KeyOf(*item), item);
  std::sort(keyed.begin(), keyed.end(),
            [this](const auto& a, const auto& b) { return Before(a.first, b.first); });
  m_viewData.clear();
  m_viewData.reserve(keyed.size());
  for (const auto& [key, item] : keyed) m_viewData.push_back(item);
}

bool CAudioAnalysisController::LockedAdd(const CRef<const AnalysisInfo>& info) {
  if (!info) return CSystemError::Bool("LockedAdd", 1, false);
  std::list<ItemData> added;  // made outside the lock, so that workers meet only for the splice
  added.push_back({info, 0, false});
  bool wasEmpty = false;
  {
    CSyncLock lock(m_sync);
    wasEmpty = m_itemsNew.empty();
    m_itemsNew.splice(m_itemsNew.end(), added);
  }
  if (wasEmpty && m_callback) m_callback();
  return true;
}

auto CAudioAnalysisController::TableAt(int32_t row) const -> const ItemData* {
  if (!IsRow(row)) return CSystemError::Plain("TableAt", 1), nullptr;
  return m_viewData[static_cast<size_t>(row)];
}

void CAudioAnalysisController::SetSort(FieldId column, bool ascending) {
  if (column == FieldId::kNone) return;
  m_sort = {column, ascending};
  SortRows();
  CConfiguration::Instance().SetInteger(kSortKey, m_sort.Encode());
}

bool CAudioAnalysisController::ProcessNewData() {
  std::list<ItemData> arrived;
  {
    CSyncLock lock(m_sync);
    arrived.swap(m_itemsNew);
  }
  const bool sortsAll = arrived.size() > m_viewData.size() / kBatchShare;
  for (const ItemData& record : arrived) {
    if (FindItem(record.base->path)) continue;
    ItemData* item = InsertJournaled(record.base);
    if (!item || sortsAll) continue;
    const RowKey key = KeyOf(*item);
    const auto place = std::upper_bound(
        m_viewData.begin(), m_viewData.end(), key,
        [this](const RowKey& a, const ItemData* b) { return Before(a, KeyOf(*b)); });
    m_viewData.insert(place, item);
  }
  if (sortsAll && !arrived.empty()) SortRows();
  return true;
}

auto CAudioAnalysisController::InsertJournaled(const CRef<const AnalysisInfo>& info) -> ItemData* {
  ItemData* item = m_items.Add({info, Rating(*info), false});
  if (!item) return CSystemError::Plain("InsertJournaled", 1), nullptr;
  if (m_journal) m_journal->AddAnalysisItem(RecordOf(*info));
  return item;
}

bool CAudioAnalysisController::ChangeJournaled(ItemData* item, std::string_view newPath,
                                               std::string_view artist, std::string_view album,
                                               std::string_view title) {
  AnalysisItemRecord record = RecordOf(*item->base);
  record.path = newPath;
  record.artist = artist;
  record.album = album;
  record.title = title;
  CRef<const AnalysisInfo> changed = InfoOf(record);
  if (!changed) return CSystemError::Bool("ChangeJournaled", 1, false);
  if (m_journal) m_journal->ChangeAnalysisItem(item->base->path, newPath, artist, album, title);
  const bool moves = changed->path != item->base->path;
  item->base = std::move(changed);
  if (moves) m_items.Reposition(item);
  return true;
}

CRef<const AnalysisInfo> CAudioAnalysisController::InfoOf(const AnalysisItemRecord& record) const {
  AnalysisInfo wanted;
  FillInfo(record, &wanted);
  return m_store.GetCache(wanted);
}

void CAudioAnalysisController::MarkRows(const Rows& rows) {
  for (const int32_t row : rows) {
    if (!IsRow(row)) continue;
    bool& marked = m_viewData[static_cast<size_t>(row)]->marked;
    marked = !marked;
  }
}

void CAudioAnalysisController::UnmarkAll() {
  for (ItemData* item : m_viewData) item->marked = false;
}

void CAudioAnalysisController::InvertMarked() {
  for (ItemData* item = m_items.Next(nullptr); item; item = m_items.Next(item))
    item->marked = !item->marked;
}

auto CAudioAnalysisController::MarkedRows() const -> Rows {
  Rows rows;
  for (size_t row = 0; row < m_viewData.size(); ++row)
    if (m_viewData[row]->marked) rows.push_back(static_cast<int32_t>(row));
  return rows;
}

void CAudioAnalysisController::IgnoreRows(const Rows& rows) {
  std::unordered_set<const ItemData*> items;
  for (const int32_t row : rows) {
    if (!IsRow(row)) continue;
    const ItemData* item = m_viewData[static_cast<size_t>(row)];
    m_ignores.AddIgnore(item->base->path);
    items.insert(item);
  }
  RemoveItems(items);
}

void CAudioAnalysisController::IgnoreMarked() {
  IgnoreRows(MarkedRows());
}

bool CAudioAnalysisController::ActOnRows(const Rows& rows, const FilesCallback& callback) {
  std::vector<std::string> paths;
  for (const int32_t row : rows)
    if (IsRow(row)) paths.push_back(m_viewData[static_cast<size_t>(row)]->base->path);
  if (paths.empty() || !callback(&paths)) return false;
  // The callback may have asked the user, and the table may have changed meanwhile.
  RemoveItems(ItemsOf(paths));
  if (m_controller) m_controller->RemovePaths(paths);
  return true;
}

bool CAudioAnalysisController::ActOnMarked(const FilesCallback& callback) {
  return ActOnRows(MarkedRows(), callback);
}

auto CAudioAnalysisController::ItemsOf(const std::vector<std::string>& paths) const
    -> std::unordered_set<const ItemData*> {
  std::unordered_set<const ItemData*> items;
  for (const std::string& path : paths)
    if (const ItemData* item = FindItem(path)) items.insert(item);
  return items;
}

void CAudioAnalysisController::RemoveItems(const std::unordered_set<const ItemData*>& items) {
  if (items.empty()) return;
  // From the end, so that gaps close in one pass.
  auto kept = m_viewData.rbegin();
  for (auto row = m_viewData.rbegin(); row != m_viewData.rend(); ++row) {
    if (!items.contains(*row)) {
      *kept++ = *row;
      continue;
    }
    if (m_journal) m_journal->RemoveAnalysisItem((*row)->base->path);
    m_items.Remove(*row);
  }
  m_viewData.erase(m_viewData.begin(), kept.base());
}

void CAudioAnalysisController::RemovePaths(const std::vector<std::string>& paths) {
  RemoveItems(ItemsOf(paths));
}

void CAudioAnalysisController::ChangePath(std::string_view oldPath, std::string_view newPath,
                                          std::string_view artist, std::string_view album,
                                          std::string_view title) {
  ItemData* item = m_items.Find(oldPath);
  if (!item || !ChangeJournaled(item, newPath, artist, album, title)) return;
  SortRowsIfSortedBy({FieldId::kFile, FieldId::kFolder, FieldId::kFilename, FieldId::kArtist,
                      FieldId::kTitle, FieldId::kAlbum});
}

void CAudioAnalysisController::SwapPaths(std::string_view first, std::string_view second) {
  // Both are looked up before either moves: an item alone would be found again at its new place.
  const std::pair<ItemData*, std::string_view> moves[] = {{m_items.Find(first), second},
                                                          {m_items.Find(second), first}};
  for (const auto& [item, path] : moves) {
    if (!item) continue;
    const CRef<const AnalysisInfo> info = item->base;
    std::ignore = ChangeJournaled(item, path, info->artist, info->album, info->title);
  }
  SortRowsIfSortedBy({FieldId::kFile, FieldId::kFolder, FieldId::kFilename});
}

void CAudioAnalysisController::SortRowsIfSortedBy(std::initializer_list<FieldId> columns) {
  if (std::find(columns.begin(), columns.end(), m_sort.column) != columns.end()) SortRows();
}

void CAudioAnalysisController::Clear() {
  m_viewData.clear();
  m_items.Clear();
  {
    CSyncLock lock(m_sync);
    m_itemsNew.clear();
  }
  // Not emptied: the journal still holds what the other tables show.
  if (m_journal) (void)m_journal->Rebuild();
}

bool CAudioAnalysisController::BulkAdd(const AnalysisItemRecord& item) {
  if (FindItem(item.path)) return CSystemError::Bool("BulkAdd", 1, false);
  const CRef<const AnalysisInfo> info = InfoOf(item);
  if (!info || !InsertJournaled(info)) return CSystemError::Bool("BulkAdd", 2, false);
  return true;
}

bool CAudioAnalysisController::BulkRemove(std::string_view path) {
  ItemData* item = m_items.Find(path);
  if (!item) return CSystemError::Bool("BulkRemove", 1, false);
  if (m_journal) m_journal->RemoveAnalysisItem(path);
  m_viewData.clear();  // a row of what goes would dangle until the rows are rebuilt
  m_items.Remove(item);
  return true;
}

bool CAudioAnalysisController::BulkChange(std::string_view oldPath, std::string_view newPath,
                                          std::string_view artist, std::string_view album,
                                          std::string_view title) {
  ItemData* item = m_items.Find(oldPath);
  if (!item || !ChangeJournaled(item, newPath, artist, album, title))
    return CSystemError::Bool("BulkChange", 1, false);
  return true;
}

void CAudioAnalysisController::RebuildRows() {
  SortRows();
}

bool CAudioAnalysisController::WriteResults(CResultsJournal& journal) {
  // A load that has been journalled into another file comes here before its rows stand.
  if (m_viewData.size() != m_items.Count()) SortRows();
  for (const ItemData* item : m_viewData) journal.AddAnalysisItem(RecordOf(*item->base));
  return true;
}

}  // namespace quill
