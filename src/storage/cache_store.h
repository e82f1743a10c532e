// SPDX-License-Identifier: GPL-3.0-or-later
// "cache.dat": what is expensive to compute for a file, kept so that an unchanged file is not
// decoded twice. A framed log that is only appended to during a run; a renewed record is written
// again, and at load the later one extends or replaces the earlier. See docs/cache-format.md.
//
// This class owns the container and its framing; the content of a record belongs to the engines,
// which register as clients. Any thread may call AddCache; everything else runs on the main thread.
// Lock order: the store's mutex, then one engine's tree lock at a time; nobody takes the store's
// mutex while holding a tree lock.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "core/sync.h"
#include "storage/cache_record.h"
#include "storage/file.h"

namespace quill {

// An engine's store of records of one type, as the cache file sees it.
class CCacheClient {
 public:
  virtual ~CCacheClient() = default;
  // Restores one entry from a record's payload. A bad payload is reported there and changes
  // nothing else.
  virtual void LoadRecord(CCacheReader reader) = 0;
  // Empties the store.
  virtual void ClearRecords() = 0;
  [[nodiscard]] virtual uint32_t RecordCount() const = 0;
};

class CCacheStore {
 public:
  // Clients must outlive the store; null for a type that nobody keeps, whose records are passed
  // over at load. Set before Load.
  void SetClient(CacheRecordType type, CCacheClient* client);

  // Opens `path`, creating it if missing, and feeds the clients. Content of another version is
  // thrown away. A damaged tail is kept out: new records are written over it. False only when the
  // file cannot be opened or read; the program goes on without it.
  [[nodiscard]] bool Load(const std::string& path) EXCLUDES(m_sync);
  // Frames and appends the record with a single write, and empties it for the next. False after a
  // report; the only loss is that the file is decoded again next time.
  bool AddCache(CCacheRecord& record) EXCLUDES(m_sync);
  // Empties the file and the clients, in the order audio, image, analysis.
  void Clear() EXCLUDES(m_sync);
  // Items of all clients.
  [[nodiscard]] uint32_t Count() const;
  // Bytes of "cache.dat" up to the present write position.
  [[nodiscard]] uint64_t FileSize() EXCLUDES(m_sync);

 private:
  std::array<CCacheClient*, 3> m_clients{};  // by type - 1; constant after start
  CSync m_sync;
  CFile m_file GUARDED_BY(m_sync);
};

}  // namespace quill
