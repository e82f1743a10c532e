// The duplicates store of the audio engine: for each known path its description and prints, filled
// from the cache file at start, extended by scans. An ordinal above 0 marks a file as part of the
// present scan and tells its place in the order of arrival, which drives the comparison walk: each
// file is compared with all of lower ordinal. Ordinals come from one counter that never goes back.
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

#include "audio/item_base.h"
#include "audio/prints.h"
#include "core/reference.h"
#include "core/scan_counters.h"
#include "core/sync.h"
#include "storage/cache_store.h"
#include "storage/pending_work.h"
#include "storage/robust_tree.h"

namespace quill {

// An entry, and at the same time the snapshot of one.
struct AudioEntry {
  uint32_t group = 0;    // folder group of this scan, 0 outside a scan
  uint32_t ordinal = 0;  // 0 = not part of the present scan
  CRef<const ItemBase> info;
  CRef<const TagKeys> keys;
  CRef<const SpectrumPrint> spectrum;
  CRef<const BarkPrint> bark;
  CRef<const CorrelogramPrint> correlogram;

  // Takes over the numbers and each part that `source` has; parts that it lacks stay.
  void Merge(const AudioEntry& source);
};

// What a comparison walk can rule out without a look at the entries themselves.
struct AudioGate {
  uint8_t group = 0;        // cuts entries of this folder group, unless 0
  uint32_t durationMs = 0;  // of the file in hand; 0 switches the duration gate off
  float ratio = 0;          // shorter / longer must reach this; 0 switches the duration gate off

  [[nodiscard]] bool Cuts(uint8_t otherGroup, uint32_t otherMs) const;
};

class CAudioStore : public CCacheClient, public CPendingWorkState {
 public:
  // Both must outlive the store.
  CAudioStore(CCacheStore& cache, CScanCounters& counters);

  enum class Filed {
    kYes,      // the file has joined the scan now and must be compared
    kAlready,  // the file had been taken in this scan: the new parts are dropped
    kFailed,   // reported
  };
  // Files new parts under their path, gives the entry the group and the next ordinal. With `write`
  // the new parts are appended to the cache file after the lock is released.
  [[nodiscard]] Filed File(const std::string& path, const AudioEntry& parts, uint8_t group,
                           bool write);

  // False when the path is unknown.
  [[nodiscard]] bool FindEntry(std::string_view path, AudioEntry* snapshot) const;
  // The entry with the smallest ordinal above `last`; false when there is none.
  [[nodiscard]] bool NextEntry(uint32_t last, AudioEntry* snapshot) const;
  // The same for a walk over many: puts snapshots of the next few entries of ordinal above `*last`
  // and below `end` that `gate` lets through into `found` (perhaps none) and moves `*last` on.
  // False when the walk is over, with `found` empty.
  [[nodiscard]] bool NextEntries(const AudioGate& gate, uint32_t end, uint32_t* last,
                                 std::vector<AudioEntry>* found) const;
  [[nodiscard]] uint32_t EntryCount() const;
  void ClearEntries();
  // Sets group and ordinal of all entries to 0: the engines then see an empty set.
  void ResetScanState();

  // The stored record if every field given is equal, else a new one with modification time 0, which
  // is not put into the store. Null after a report when memory is short.
  [[nodiscard]] CRef<const ItemBase> GetCache(std::string_view path, std::string_view artist,
                                              std::string_view album, std::string_view title,
                                              uint32_t durationMs, uint32_t bitrate,
                                              uint16_t format, uint64_t size) const;

  // CCacheClient
  void LoadRecord(CCacheReader reader) override;
  void ClearRecords() override { ClearEntries(); }
  [[nodiscard]] uint32_t RecordCount() const override { return EntryCount(); }

  // CPendingWorkState
  [[nodiscard]] bool SerializeState(CSerializer& serializer) override;
  bool RestoreState(std::string_view path, uint8_t group) override;

 private:
  struct Stored : AudioEntry {
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
    uint32_t durationMs;
    uint8_t group;
    Stored* entry;
  };

  void Join(Stored& entry, uint8_t group) REQUIRES(m_lock);
  // Index of the first arrival of an ordinal above `last`.
  [[nodiscard]] size_t ArrivalAbove(uint32_t last) const REQUIRES_SHARED(m_lock);
  bool SerializeCache(const std::string& path, const AudioEntry& parts);
  [[nodiscard]] bool DeserializeCache(CCacheReader& reader);

  CCacheStore& m_cache;
  CScanCounters& m_counters;
  mutable CReadWriteLock m_lock;
  CRobustTree<Stored, PathOrder> m_entries GUARDED_BY(m_lock);
  std::vector<Arrival> m_byOrdinal GUARDED_BY(m_lock);
  uint32_t m_lastOrdinal GUARDED_BY(m_lock) = 0;
};

}  // namespace quill
