// SPDX-License-Identifier: GPL-3.0-or-later
// What the user has told the program to leave alone: single files and pairs of files, kept in
// "ignores.list" as text (docs/ignore-format.md). Any thread may ask and add; the test stands in
// the inner loop of comparison and costs a read lock and a tree descent with no allocation.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/sync.h"
#include "storage/robust_tree.h"

namespace quill {

class CIgnoreList {
 public:
  // A missing file gives false: on the first start that is the normal case.
  [[nodiscard]] bool LoadIgnores(const std::string& path);
  // Writes beside `path` and renames over it, so that a failed save (reported) leaves the list of
  // the last one.
  [[nodiscard]] bool SaveIgnores(const std::string& path) const;

  // True if the entry is new. False with no report when it exists (a pair in either order), false
  // after a report for an empty path.
  bool AddIgnore(std::string_view first, std::string_view second);
  bool AddIgnore(std::string_view path);
  [[nodiscard]] bool IsPairIgnored(std::string_view first, std::string_view second) const;
  [[nodiscard]] bool IsFileIgnored(std::string_view path) const;
  // Deletes the file at `path` first, then empties the list.
  void Clear(const std::string& path);
  [[nodiscard]] uint32_t Count() const;

  struct Entry {
    std::string first;
    std::string second;  // empty for a single file
  };
  // Calls visit(first, second) for each entry in order, under the read lock: `visit` must not call
  // back into the list.
  template <class Visit>
  void ForEach(Visit visit) const {
    CReadLock lock(m_lock);
    for (const Entry* entry = m_entries.Next(nullptr); entry; entry = m_entries.Next(entry))
      visit(entry->first, entry->second);
  }

 private:
  // Bytewise by the first string, then by the second; the shorter first on a common start.
  struct Order {
    static int Compare(std::string_view first, std::string_view second, const Entry& entry);
    static int Compare(const Entry& key, const Entry& entry) {
      return Compare(key.first, key.second, entry);
    }
  };
  bool Add(std::string_view first, std::string_view second, int32_t failLine) REQUIRES(m_lock);

  mutable CReadWriteLock m_lock;
  CRobustTree<Entry, Order> m_entries GUARDED_BY(m_lock);
};

}  // namespace quill
