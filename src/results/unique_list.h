// SPDX-License-Identifier: GPL-3.0-or-later
// A set of records that keeps them in the order in which they first came, so that what is made of
// it (lists of files, journal records) does not depend on addresses. Holds pointers, owns nothing.
#pragma once

#include <unordered_set>
#include <vector>

namespace quill {

template <class T>
class CUniqueList {
 public:
  void Add(T* record) {
    if (m_seen.insert(record).second) m_list.push_back(record);
  }
  [[nodiscard]] bool IsEmpty() const { return m_list.empty(); }
  [[nodiscard]] auto begin() const { return m_list.begin(); }
  [[nodiscard]] auto end() const { return m_list.end(); }

 private:
  std::vector<T*> m_list;
  std::unordered_set<T*> m_seen;
};

}  // namespace quill
