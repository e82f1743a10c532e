#include "audio/audio_store.h"

#include <algorithm>
#include <utility>

#include "audio/audio_record.h"
#include "core/system_error.h"

namespace quill {
namespace {

// Of one look into the store: enough to make the lock cheap, few enough that a file that wants in
// does not wait long.
constexpr size_t kMostFound = 64;
constexpr size_t kMostLooked = 4096;

template <class T>
void Take(const CRef<T>& source, CRef<T>* target) {
  if (source) *target = source;
}

}  // namespace

void AudioEntry::Merge(const AudioEntry& source) {
  group = source.group;
  ordinal = source.ordinal;
  Take(source.info, &info);
  Take(source.keys, &keys);
  Take(source.spectrum, &spectrum);
  Take(source.bark, &bark);
  Take(source.correlogram, &correlogram);
}

bool AudioGate::Cuts(uint8_t otherGroup, uint32_t otherMs) const {
  if (group != 0 && group == otherGroup) return true;
  if (ratio == 0 || durationMs == 0 || otherMs == 0) return false;
  const auto [shorter, longer] = std::minmax(durationMs, otherMs);
  return ratio * static_cast<float>(longer) > static_cast<float>(shorter);
}

CAudioStore::CAudioStore(CCacheStore& cache, CScanCounters& counters)
    : m_cache(cache), m_counters(counters) {}

CAudioStore::Filed CAudioStore::File(const std::string& path, const AudioEntry& parts,
                                     uint8_t group, bool write) {
  {
    CWriteLock lock(m_lock);
    Stored* entry = m_entries.Find(path);
    if (entry && entry->ordinal != 0) return Filed::kAlready;
    if (entry) {
      entry->Merge(parts);
    } else {
      if (!parts.info) {
        CSystemError::Bool("PrepareFile", 407, false);
        return Filed::kFailed;
      }
      Stored fresh;
      fresh.Merge(parts);
      fresh.path = path;
      entry = m_entries.Add(std::move(fresh));
      if (!entry) {
        CSystemError::Bool("PrepareFile", 412, false);
        return Filed::kFailed;
      }
    }
    Join(*entry, group);
  }
  if (write) SerializeCache(path, parts);
  return Filed::kYes;
}

void CAudioStore::Join(Stored& entry, uint8_t group) {
  entry.group = group;
  entry.ordinal = ++m_lastOrdinal;
  m_byOrdinal.push_back({entry.ordinal, entry.info->durationMs, group, &entry});
}

size_t CAudioStore::ArrivalAbove(uint32_t last) const {
  const auto above =
      std::upper_bound(m_byOrdinal.begin(), m_byOrdinal.end(), last,
                       [](uint32_t ordinal, const Arrival& row) { return ordinal < row.ordinal; });
  return static_cast<size_t>(above - m_byOrdinal.begin());
}

bool CAudioStore::FindEntry(std::string_view path, AudioEntry* snapshot) const {
  CReadLock lock(m_lock);
  const Stored* entry = m_entries.Find(path);
  if (!entry) return false;
  *snapshot = *entry;
  return true;
}

bool CAudioStore::NextEntry(uint32_t last, AudioEntry* snapshot) const {
  CReadLock lock(m_lock);
  const size_t index = ArrivalAbove(last);
  if (index == m_byOrdinal.size()) return false;
  *snapshot = *m_byOrdinal[index].entry;
  return true;
}

bool CAudioStore::NextEntries(const AudioGate& gate, uint32_t end, uint32_t* last,
                              std::vector<AudioEntry>* found) const {
  found->clear();
  CReadLock lock(m_lock);
  const size_t first = ArrivalAbove(*last);
  const size_t stop = std::min(m_byOrdinal.size(), first + kMostLooked);
  size_t index = first;
  for (; index < stop && found->size() < kMostFound; ++index) {
    const Arrival& row = m_byOrdinal[index];
    if (row.ordinal >= end) break;
    *last = row.ordinal;
    if (!gate.Cuts(row.group, row.durationMs)) found->push_back(*row.entry);
  }
  return index != first;
}

uint32_t CAudioStore::EntryCount() const {
  CReadLock lock(m_lock);
  return m_entries.Count();
}

void CAudioStore::ClearEntries() {
  CWriteLock lock(m_lock);
  m_byOrdinal.clear();
  m_entries.Clear();
}

void CAudioStore::ResetScanState() {
  CWriteLock lock(m_lock);
  for (const Arrival& row : m_byOrdinal) row.entry->group = row.entry->ordinal = 0;
  m_byOrdinal.clear();
}

CRef<const ItemBase> CAudioStore::GetCache(std::string_view path, std::string_view artist,
                                           std::string_view album, std::string_view title,
                                           uint32_t durationMs, uint32_t bitrate, uint16_t format,
                                           uint64_t size) const {
  {
    CReadLock lock(m_lock);
    if (const Stored* entry = m_entries.Find(path)) {
      const ItemBase& info = *entry->info;
      if (info.artist == artist && info.album == album && info.title == title &&
          info.durationMs == durationMs && info.bitrate == bitrate && info.format == format &&
          info.size == size)
        return entry->info;
    }
  }
  const CRef<ItemBase> item = MakeRef<ItemBase>();
  if (!item) {
    CSystemError::Bool("GetCache", 1264, false);
    return {};
  }
  item->path = path;
  item->artist = artist;
  item->album = album;
  item->title = title;
  item->durationMs = durationMs;
  item->bitrate = bitrate;
  item->format = format;
  item->size = size;
  return item;
}

bool CAudioStore::SerializeCache(const std::string& path, const AudioEntry& parts) {
  CCacheRecord record(CacheRecordType::kAudio);
  return WriteAudioRecord(path, parts, &record) && m_cache.AddCache(record);
}

void CAudioStore::LoadRecord(CCacheReader reader) {
  // A refused record is reported in there; the load goes on.
  (void)DeserializeCache(reader);
}

bool CAudioStore::DeserializeCache(CCacheReader& reader) {
  Stored read;
  if (!ReadAudioRecord(reader, &read.path, &read)) return false;

  CWriteLock lock(m_lock);
  if (Stored* entry = m_entries.Find(read.path)) {
    read.group = entry->group;
    read.ordinal = entry->ordinal;
    entry->Merge(read);
    if (entry->ordinal != 0)
      m_byOrdinal[ArrivalAbove(entry->ordinal - 1)].durationMs = entry->info->durationMs;
    return true;
  }
  if (!read.info) return CSystemError::Bool("DeserializeCache", 700, false);
  if (!m_entries.Add(std::move(read))) return CSystemError::Bool("DeserializeCache", 701, false);
  return true;
}

bool CAudioStore::SerializeState(CSerializer& serializer) {
  AudioEntry entry;
  for (uint32_t last = 0; NextEntry(last, &entry); last = entry.ordinal) {
    if (!serializer.WriteAudioState(entry.info->path, static_cast<uint8_t>(entry.group)))
      return CSystemError::Bool("SerializeState", 1211, false);
  }
  return true;
}

bool CAudioStore::RestoreState(std::string_view path, uint8_t group) {
  CWriteLock lock(m_lock);
  Stored* entry = m_entries.Find(path);
  if (!entry) return false;
  if (entry->ordinal == 0) {
    m_counters.processed.fetch_add(1, std::memory_order_relaxed);
    m_counters.scheduled.fetch_add(1, std::memory_order_relaxed);
    // Not kept on disk; without them the rest of the scan could not compare tags with this file.
    if (!entry->keys) entry->keys = MakeTagKeys(*entry->info);
    Join(*entry, group);
  }
  return true;
}

}  // namespace quill
