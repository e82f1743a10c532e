// SPDX-License-Identifier: GPL-3.0-or-later
// What an engine knows of the files of this machine: for each known path an entry of its
// description and its prints, filled from the cache file at start, extended by scans. An ordinal
// above 0 marks a file as part of the present scan and tells its place in the order of arrival,
// which drives the comparison walk: each file is compared with all of lower ordinal. Ordinals come
// from one counter that never goes back. The engines' stores are this one, shaped by their Traits.
//
// Any thread. One read-write lock over both indexes, held for a look-up or a merge only; snapshots
// hold references and stay valid when an entry is replaced. The index by ordinal is a plain vector:
// files join a scan in the order of their ordinals and leave it all at once, so it is sorted by
// itself, and a walk of 100000 files reads memory in one direction and touches only the entries
// that its gate lets through.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/reference.h"
#include "core/scan_counters.h"
#include "core/sync.h"
#include "storage/cache_store.h"
#include "storage/pending_work.h"
#include "storage/robust_tree.h"

namespace quill {

// Where the store reports, by its engine's numbers.
struct ScanStoreLines {
  int32_t fileWithoutInfo, fileNoMemory;  // "PrepareFile"
  int32_t loadWithoutInfo, loadNoMemory;  // "DeserializeCache"
  int32_t state;                          // "SerializeState"
  int32_t noMemory;                       // "GetCache"
};

// Traits of an engine:
//   Entry          fields group, ordinal (32 bits; 0 = not part of the present scan) and info, a
//                  reference to the description, which no stored entry lacks: the Facts that are
//                  told of the file, with path and size, and its time of modification.
//                  Merge(source) takes over each part that `source` has. Drop(asked) lets go of all
//                  that is not the description and follows from the file's content, as far as
//                  `asked`, bits of the engine's own, goes; kAllParts is all of it.
//   Gate, GateKey  what a walk can rule out without a look at the entries themselves, and what it
//                  looks at: gate.Cuts(key), KeyOf(entry).
//   kType, kLines  type of the cache record, ScanStoreLines.
//   WriteRecord, ReadRecord, WriteState  the forms of an entry in the cache file and of a file in
//                  the pending-work stream.
//   Complete(entry)  makes what is not kept on disk, for a file that joins a scan without its
//                  engine.
// The definitions are in scan_store_inl.h, for the one source per engine that instantiates them.
template <class Traits>
class CScanStore : public CCacheClient, public CPendingWorkState {
 public:
  using Entry = typename Traits::Entry;
  using Gate = typename Traits::Gate;
  using Info = typename Traits::Info;
  static constexpr uint32_t kAllParts = ~uint32_t{0};

  // Both must outlive the store.
  CScanStore(CCacheStore& cache, CScanCounters& counters) : m_cache(cache), m_counters(counters) {}

  enum class Filed {
    kYes,      // the file has joined the scan now and must be compared
    kAlready,  // the file had been taken in this scan: the new parts are dropped
    kFailed,   // reported
  };
  // Files new parts under their path, gives the entry the group and the next ordinal. When they
  // tell of another state of the file than the stored ones, those of the `asked` kinds that do not
  // come anew are gone. With `write` the new parts are appended to the cache file after the lock is
  // released.
  [[nodiscard]] Filed File(const std::string& path, const Entry& parts, uint8_t group, bool write,
                           uint32_t asked = kAllParts);

  // False when the path is unknown.
  [[nodiscard]] bool FindEntry(std::string_view path, Entry* snapshot) const;
  // The entry with the smallest ordinal above `last`; false when there is none.
  [[nodiscard]] bool NextEntry(uint32_t last, Entry* snapshot) const;
  // The same for a walk over many: puts snapshots of the next few entries of ordinal above `*last`
  // and below `end` that `gate` lets through into `found` (perhaps none) and moves `*last` on.
  // False when the walk is over, with `found` empty.
  [[nodiscard]] bool NextEntries(const Gate& gate, uint32_t end, uint32_t* last,
                                 std::vector<Entry>* found) const;
  // The whole walk: calls visit(entry) for each, with no lock held, and ends when that says false,
  // which is then the result.
  template <class Visit>
  [[nodiscard]] bool ForEachBefore(const Gate& gate, uint32_t end, Visit visit) const {
    std::vector<Entry> found;
    for (uint32_t last = 0; NextEntries(gate, end, &last, &found);) {
      for (const Entry& entry : found)
        if (!visit(entry)) return false;
    }
    return true;
  }
  // The stored description if it tells the same, else a new one with modification time 0, which is
  // not put into the store. Null after a report when memory is short.
  [[nodiscard]] CRef<const Info> GetCache(const typename Info::Facts& wanted) const;
  [[nodiscard]] uint32_t EntryCount() const;
  // Files that have joined the present scan.
  [[nodiscard]] uint32_t ArrivalCount() const;
  void ClearEntries();
  // Sets group and ordinal of all entries to 0: the engines then see an empty set.
  void ResetScanState();

  // CCacheClient. A record of another state of the file than the one known so far replaces all of
  // its parts.
  void LoadRecord(CCacheReader reader) override;
  void ClearRecords() override { ClearEntries(); }
  [[nodiscard]] uint32_t RecordCount() const override { return EntryCount(); }

  // CPendingWorkState
  [[nodiscard]] bool SerializeState(CSerializer& serializer) override;
  bool RestoreState(std::string_view path, uint8_t group) override;

 private:
  struct Stored : Entry {
    std::string path;
  };
  struct PathOrder {
    static int Compare(std::string_view path, const Stored& entry) {
      return path.compare(entry.path);
    }
    static int Compare(const Stored& key, const Stored& entry) { return Compare(key.path, entry); }
  };
  // A file of the present scan; what the gate asks for lies beside the pointer.
  struct Arrival {
    uint32_t ordinal;
    typename Traits::GateKey key;
    Stored* entry;
  };

  static void Renew(const Entry& parts, uint32_t asked, Stored* entry);
  void Join(Stored& entry, uint8_t group) REQUIRES(m_lock);
  // Index of the first arrival of an ordinal above `last`.
  [[nodiscard]] size_t ArrivalAbove(uint32_t last) const REQUIRES_SHARED(m_lock);
  bool SerializeCache(const std::string& path, const Entry& parts);
  [[nodiscard]] bool DeserializeCache(CCacheReader& reader);

  CCacheStore& m_cache;
  CScanCounters& m_counters;
  mutable CReadWriteLock m_lock;
  CRobustTree<Stored, PathOrder> m_entries GUARDED_BY(m_lock);
  std::vector<Arrival> m_byOrdinal GUARDED_BY(m_lock);
  uint32_t m_lastOrdinal GUARDED_BY(m_lock) = 0;
};

}  // namespace quill
