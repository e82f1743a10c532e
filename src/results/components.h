// SPDX-License-Identifier: GPL-3.0-or-later
// Connected components of a graph whose nodes are numbered from 0: disjoint sets, joined by size,
// with paths halved on the way.
#pragma once

#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

namespace quill {

class CComponents {
 public:
  explicit CComponents(size_t nodes) : m_parent(nodes), m_size(nodes, 1) {
    std::iota(m_parent.begin(), m_parent.end(), 0u);
  }
  // The node that stands for the component of `node`.
  [[nodiscard]] uint32_t Find(uint32_t node) {
    while (m_parent[node] != node) node = m_parent[node] = m_parent[m_parent[node]];
    return node;
  }
  void Join(uint32_t a, uint32_t b) {
    a = Find(a);
    b = Find(b);
    if (a == b) return;
    if (m_size[a] < m_size[b]) std::swap(a, b);
    m_parent[b] = a;
    m_size[a] += m_size[b];
  }

 private:
  std::vector<uint32_t> m_parent;
  std::vector<uint32_t> m_size;  // of the component, valid for the node that stands for it
};

}  // namespace quill
