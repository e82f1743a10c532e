// SPDX-License-Identifier: GPL-3.0-or-later
// What earlier runs and this one have measured: the analysis of each known file, filled from the
// cache file at start, so that an unchanged file is not decoded again. A file's newer record
// replaces the older. Nothing here belongs to a scan: an analysed file is the same in all of them.
//
// Any thread. One read-write lock over the tree, held for a look-up or one replacement.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "audio/analysis_info.h"
#include "core/reference.h"
#include "core/sync.h"
#include "storage/cache_store.h"
#include "storage/robust_tree.h"

namespace quill {

class CAnalysisStore : public CCacheClient {
 public:
  // Must outlive the store.
  explicit CAnalysisStore(CCacheStore& cache) : m_cache(cache) {}

  // Null when the path is unknown.
  [[nodiscard]] CRef<const AnalysisInfo> Find(std::string_view path) const;
  // Replaces or inserts the record, and appends it to the cache file after the lock is released.
  // False after a report when memory is short.
  bool File(const CRef<const AnalysisInfo>& info);
  // The stored record if every field but the modification time is equal, else a copy of `wanted`
  // with modification time 0, which is not put into the store. Null after a report when memory is
  // short.
  [[nodiscard]] CRef<const AnalysisInfo> GetCache(const AnalysisInfo& wanted) const;

  // CCacheClient
  void LoadRecord(CCacheReader reader) override;
  void ClearRecords() override;
  [[nodiscard]] uint32_t RecordCount() const override;

 private:
  struct Stored {
    CRef<const AnalysisInfo> info;
  };
  struct PathOrder {
    static int Compare(std::string_view path, const Stored& entry) {
      return path.compare(entry.info->path);
    }
    static int Compare(const Stored& key, const Stored& entry) {
      return Compare(key.info->path, entry);
    }
  };
  [[nodiscard]] bool Put(const CRef<const AnalysisInfo>& info) REQUIRES(m_lock);

  CCacheStore& m_cache;
  mutable CReadWriteLock m_lock;
  CRobustTree<Stored, PathOrder> m_entries GUARDED_BY(m_lock);
};

}  // namespace quill
