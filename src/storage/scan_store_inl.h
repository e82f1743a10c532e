// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <utility>

#include "core/system_error.h"
#include "storage/file_info.h"
#include "storage/scan_store.h"

namespace quill {

template <class Traits>
typename CScanStore<Traits>::Filed CScanStore<Traits>::File(const std::string& path,
                                                            const Entry& parts, uint8_t group,
                                                            bool write, uint32_t asked) {
  {
    CWriteLock lock(m_lock);
    Stored* entry = m_entries.Find(path);
    if (entry && entry->ordinal != 0) return Filed::kAlready;
    if (entry) {
      Renew(parts, asked, entry);
    } else {
      if (!parts.info) {
        CSystemError::Bool("PrepareFile", Traits::kLines.fileWithoutInfo, false);
        return Filed::kFailed;
      }
      Stored fresh;
      fresh.Merge(parts);
      fresh.path = path;
      entry = m_entries.Add(std::move(fresh));
      if (!entry) {
        CSystemError::Bool("PrepareFile", Traits::kLines.fileNoMemory, false);
        return Filed::kFailed;
      }
    }
    Join(*entry, group);
  }
  if (write) SerializeCache(path, parts);
  return Filed::kYes;
}

template <class Traits>
void CScanStore<Traits>::Renew(const Entry& parts, uint32_t asked, Stored* entry) {
  if (parts.info && FileInfoOf(*parts.info) != FileInfoOf(*entry->info)) entry->Drop(asked);
  entry->Merge(parts);
}

template <class Traits>
void CScanStore<Traits>::Join(Stored& entry, uint8_t group) {
  entry.group = group;
  entry.ordinal = ++m_lastOrdinal;
  m_byOrdinal.push_back({entry.ordinal, Traits::KeyOf(entry), &entry});
}

template <class Traits>
size_t CScanStore<Traits>::ArrivalAbove(uint32_t last) const {
  const auto above =
      std::upper_bound(m_byOrdinal.begin(), m_byOrdinal.end(), last,
                       [](uint32_t ordinal, const Arrival& row) { return ordinal < row.ordinal; });
  return static_cast<size_t>(above - m_byOrdinal.begin());
}

template <class Traits>
bool CScanStore<Traits>::FindEntry(std::string_view path, Entry* snapshot) const {
  CReadLock lock(m_lock);
  const Stored* entry = m_entries.Find(path);
  if (!entry) return false;
  *snapshot = *entry;
  return true;
}

template <class Traits>
bool CScanStore<Traits>::NextEntry(uint32_t last, Entry* snapshot) const {
  CReadLock lock(m_lock);
  const size_t index = ArrivalAbove(last);
  if (index == m_byOrdinal.size()) return false;
  *snapshot = *m_byOrdinal[index].entry;
  return true;
}

template <class Traits>
bool CScanStore<Traits>::NextEntries(const Gate& gate, uint32_t end, uint32_t* last,
                                     std::vector<Entry>* found) const {
  // Of one look into the store: enough to make the lock cheap, few enough that a file that wants in
  // does not wait long.
  constexpr size_t kMostFound = 64;
  constexpr size_t kMostLooked = 4096;

  found->clear();
  CReadLock lock(m_lock);
  const size_t first = ArrivalAbove(*last);
  const size_t stop = std::min(m_byOrdinal.size(), first + kMostLooked);
  size_t index = first;
  for (; index < stop && found->size() < kMostFound; ++index) {
    const Arrival& row = m_byOrdinal[index];
    if (row.ordinal >= end) break;
    *last = row.ordinal;
    if (!gate.Cuts(row.key)) found->push_back(*row.entry);
  }
  return index != first;
}

template <class Traits>
uint32_t CScanStore<Traits>::EntryCount() const {
  CReadLock lock(m_lock);
  return m_entries.Count();
}

template <class Traits>
uint32_t CScanStore<Traits>::ArrivalCount() const {
  CReadLock lock(m_lock);
  return static_cast<uint32_t>(m_byOrdinal.size());
}

template <class Traits>
void CScanStore<Traits>::ClearEntries() {
  CWriteLock lock(m_lock);
  m_byOrdinal.clear();
  m_entries.Clear();
}

template <class Traits>
void CScanStore<Traits>::ResetScanState() {
  CWriteLock lock(m_lock);
  for (const Arrival& row : m_byOrdinal) row.entry->group = row.entry->ordinal = 0;
  m_byOrdinal.clear();
}

template <class Traits>
CRef<const typename CScanStore<Traits>::Info> CScanStore<Traits>::GetCache(
    const typename Info::Facts& wanted) const {
  using Facts = typename Info::Facts;
  {
    CReadLock lock(m_lock);
    const Stored* entry = m_entries.Find(wanted.path);
    if (entry && static_cast<const Facts&>(*entry->info) == wanted) return entry->info;
  }
  const CRef<Info> made = MakeRef<Info>();
  if (made)
    static_cast<Facts&>(*made) = wanted;
  else
    CSystemError::Bool("GetCache", Traits::kLines.noMemory, false);
  return made;
}

template <class Traits>
bool CScanStore<Traits>::SerializeCache(const std::string& path, const Entry& parts) {
  CCacheRecord record(Traits::kType);
  return Traits::WriteRecord(path, parts, &record) && m_cache.AddCache(record);
}

template <class Traits>
void CScanStore<Traits>::LoadRecord(CCacheReader reader) {
  // A refused record is reported in there; the load goes on.
  (void)DeserializeCache(reader);
}

template <class Traits>
bool CScanStore<Traits>::DeserializeCache(CCacheReader& reader) {
  Stored read;
  if (!Traits::ReadRecord(reader, &read.path, &read)) return false;

  CWriteLock lock(m_lock);
  if (Stored* entry = m_entries.Find(read.path)) {
    Renew(read, kAllParts, entry);
    if (entry->ordinal != 0)
      m_byOrdinal[ArrivalAbove(entry->ordinal - 1)].key = Traits::KeyOf(*entry);
    return true;
  }
  if (!read.info)
    return CSystemError::Bool("DeserializeCache", Traits::kLines.loadWithoutInfo, false);
  if (!m_entries.Add(std::move(read)))
    return CSystemError::Bool("DeserializeCache", Traits::kLines.loadNoMemory, false);
  return true;
}

template <class Traits>
bool CScanStore<Traits>::SerializeState(CSerializer& serializer) {
  Entry entry;
  for (uint32_t last = 0; NextEntry(last, &entry); last = entry.ordinal) {
    if (!Traits::WriteState(serializer, entry.info->path, static_cast<uint8_t>(entry.group)))
      return CSystemError::Bool("SerializeState", Traits::kLines.state, false);
  }
  return true;
}

template <class Traits>
bool CScanStore<Traits>::RestoreState(std::string_view path, uint8_t group) {
  CWriteLock lock(m_lock);
  Stored* entry = m_entries.Find(path);
  if (!entry) return false;
  if (entry->ordinal == 0) {
    m_counters.processed.fetch_add(1, std::memory_order_relaxed);
    m_counters.scheduled.fetch_add(1, std::memory_order_relaxed);
    Traits::Complete(*entry);
    Join(*entry, group);
  }
  return true;
}

}  // namespace quill
