// SPDX-License-Identifier: GPL-3.0-or-later
// The matches of a duplicates table as a page shows them: a copy, sorted into groups of files that
// hang together, whatever the table's own mode and order are, so that it can be written while the
// table goes on changing. Made on the main thread; read from any.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/reference.h"

namespace quill {

template <class Table>
class CMatchGroups {
 public:
  using Base = typename Table::Base;
  struct Match {
    uint32_t group;          // the index of the group's first file
    uint32_t first, second;  // indices of files, first below second
    typename Table::Scores scores;
  };

  explicit CMatchGroups(const Table& table) {
    std::unordered_map<const void*, uint32_t> indices;
    table.ForEachItem([&](const typename Table::ItemData& item) {
      if (item.pairs == 0) return;
      indices[&item] = static_cast<uint32_t>(m_files.size());
      m_files.push_back(item.base);
    });
    m_groups.resize(m_files.size());
    std::iota(m_groups.begin(), m_groups.end(), 0U);
    table.ForEachMatch([&](const typename Table::PairData& pair) {
      const uint32_t one = indices[pair.first];
      const uint32_t other = indices[pair.second];
      const uint32_t oneRoot = Root(one);
      const uint32_t otherRoot = Root(other);
      m_groups[std::max(oneRoot, otherRoot)] = std::min(oneRoot, otherRoot);
      m_matches.push_back({0, std::min(one, other), std::max(one, other), pair.scores});
    });
    for (Match& match : m_matches) match.group = Root(match.first);
    std::sort(m_matches.begin(), m_matches.end(), [](const Match& a, const Match& b) {
      return std::tie(a.group, a.first, a.second) < std::tie(b.group, b.first, b.second);
    });
    for (uint32_t file = 0; file < m_files.size(); ++file) m_order.emplace_back(Root(file), file);
    std::sort(m_order.begin(), m_order.end());
  }

  [[nodiscard]] size_t FileCount() const { return m_files.size(); }
  [[nodiscard]] const Base& File(uint32_t index) const { return *m_files[index].Get(); }
  // All matches, those of a group one behind the other; files and groups in the order of the paths.
  [[nodiscard]] const std::vector<Match>& Matches() const { return m_matches; }
  // The files of a group, as pairs of group and file.
  [[nodiscard]] auto FilesOf(uint32_t group) const {
    return std::equal_range(m_order.begin(), m_order.end(), std::pair{group, 0U},
                            [](const auto& a, const auto& b) { return a.first < b.first; });
  }

 private:
  [[nodiscard]] uint32_t Root(uint32_t file) {
    while (m_groups[file] != file) file = m_groups[file] = m_groups[m_groups[file]];
    return file;
  }

  std::vector<CRef<const Base>> m_files;  // in the order of the paths
  std::vector<uint32_t> m_groups;         // of each file, one on the way to the group's first
  std::vector<Match> m_matches;
  std::vector<std::pair<uint32_t, uint32_t>> m_order;
};

}  // namespace quill
