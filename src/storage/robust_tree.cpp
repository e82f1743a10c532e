// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/robust_tree.h"

#include <algorithm>
#include <optional>

namespace quill {

namespace {

using Node = CRobustBase::Node;

constexpr uintptr_t kThread = CRobustBase::kThread;
constexpr uintptr_t kTall = CRobustBase::kTall;
constexpr uintptr_t kTags = CRobustBase::kTags;
constexpr uintptr_t kRight = 1;  // direction in an entry of a path

// The tags lie in the addresses themselves, which is what makes a node small; and every index is in
// a chain, so that m_first is never null.
// NOLINTBEGIN(performance-no-int-to-ptr,clang-analyzer-core.NullDereference)
// NOLINTBEGIN(clang-analyzer-core.uninitialized.UndefReturn)

uintptr_t& Link(Node* node, bool right) {
  return right ? node->right : node->left;
}

Node* Target(uintptr_t link) {
  return reinterpret_cast<Node*>(link & ~kTags);
}

uintptr_t Address(const Node* node) {
  return reinterpret_cast<uintptr_t>(node);
}

uintptr_t ThreadTo(const Node* node) {
  return Address(node) | kThread;
}

Node* PathNode(uintptr_t entry) {
  return reinterpret_cast<Node*>(entry & ~kRight);
}

// Moves the subtree `link` of a node that gives it up over to `to`; a node with no child there gets
// a thread to its new neighbour.
void TakeOver(uintptr_t& to, uintptr_t link, const Node* neighbour) {
  to = link & kThread ? ThreadTo(neighbour) : Address(Target(link));
}

// `node` is too tall by one on side `right`. Gives the new root of the subtree.
Node* Rotate(Node* node, bool right) {
  Node* child = Target(Link(node, right));
  uintptr_t& inner = Link(child, !right);
  if (inner & kTall) {
    Node* top = Target(inner);
    const bool tallOuter = Link(top, right) & kTall;
    const bool tallInner = Link(top, !right) & kTall;
    TakeOver(Link(node, right), Link(top, !right), top);
    TakeOver(inner, Link(top, right), top);
    Link(top, !right) = Address(node);
    Link(top, right) = Address(child);
    if (tallOuter) Link(node, !right) |= kTall;
    if (tallInner) Link(child, right) |= kTall;
    return top;
  }
  const bool balanced = !(Link(child, right) & kTall);  // only after a removal
  TakeOver(Link(node, right), inner, child);
  inner = Address(node);
  if (balanced) {
    Link(node, right) |= kTall;
    inner |= kTall;
  } else {
    Link(child, right) &= ~kTall;
  }
  return child;
}

}  // namespace

CRobustBase::CRobustBase() : m_first(this) {}

CRobustBase::CRobustBase(CRobustBase* first) : m_first(this) {
  first = first->m_first;
  if (first->m_root) return;
  m_first = first;
  CRobustBase* last = first;
  for (CRobustBase* index = first; index; index = index->m_next) {
    ++index->m_adder;
    last = index;
  }
  last->m_next = this;
}

CRobustBase::Node* CRobustBase::NodeOf(const void* item) const {
  return reinterpret_cast<Node*>(reinterpret_cast<uintptr_t>(item)) - m_adder;
}

void* CRobustBase::ItemOf(const Node* node) const {
  return const_cast<Node*>(node) + m_adder;
}

void CRobustBase::LinkNode(Node* node, const uintptr_t* path, size_t depth) {
  if (depth == 0) {
    node->left = node->right = kThread;
    m_root = node;
    return;
  }
  Node* parent = PathNode(path[depth - 1]);
  const bool atRight = path[depth - 1] & kRight;
  Link(node, !atRight) = ThreadTo(parent);
  Link(node, atRight) = Link(parent, atRight);
  Link(parent, atRight) = Address(node);

  while (depth-- > 0) {
    Node* grown = PathNode(path[depth]);
    const bool right = path[depth] & kRight;
    if (Link(grown, right) & kTall) {
      Attach(Rotate(grown, right), path, depth);
      return;
    }
    if (Link(grown, !right) & kTall) {
      Link(grown, !right) &= ~kTall;
      return;
    }
    Link(grown, right) |= kTall;
  }
}

void CRobustBase::UnlinkNode(Node* node) {
  uintptr_t path[kPathLength] = {};
  size_t depth = FindPath(node, path);
  Node* left = Child(node->left);
  Node* right = Child(node->right);

  if (left && right) {
    const size_t place = depth++;
    Node* successor = right;
    for (; Node* next = Child(successor->left); successor = next) {
      path[depth++] = Address(successor);
    }
    // What pointed at the node from its left subtree is the thread of its predecessor.
    Node* predecessor = left;
    while (Node* next = Child(predecessor->right)) predecessor = next;
    predecessor->right = ThreadTo(successor);
    successor->left = node->left;
    if (successor == right) {
      successor->right = (successor->right & ~kTall) | (node->right & kTall);
    } else {
      Node* parent = PathNode(path[depth - 1]);
      const uintptr_t balance = parent->left & kTall;
      TakeOver(parent->left, successor->right, successor);
      parent->left |= balance;
      successor->right = node->right;
    }
    Attach(successor, path, place);
    path[place] = Address(successor) | kRight;
  } else if (left || right) {
    // The only child: the thread on its inner side led to the node.
    const bool side = right != nullptr;
    Node* end = side ? right : left;
    while (Node* next = Child(Link(end, !side))) end = next;
    Link(end, !side) = Link(node, !side);
    Attach(side ? right : left, path, depth);
  } else if (depth > 0) {
    const bool side = path[depth - 1] & kRight;
    uintptr_t& link = Link(PathNode(path[depth - 1]), side);
    link = Link(node, side) | (link & kTall);
  } else {
    m_root = nullptr;
  }
  RebalanceShrunk(path, depth);
}

void CRobustBase::RebalanceShrunk(const uintptr_t* path, size_t depth) {
  while (depth-- > 0) {
    Node* node = PathNode(path[depth]);
    const bool shrunk = path[depth] & kRight;
    if (Link(node, shrunk) & kTall) {
      Link(node, shrunk) &= ~kTall;
      continue;
    }
    uintptr_t& other = Link(node, !shrunk);
    if (!(other & kTall)) {
      other |= kTall;
      return;
    }
    const Node* child = Target(other);
    const bool heightStays = !((child->left | child->right) & kTall);
    Attach(Rotate(node, !shrunk), path, depth);
    if (heightStays) return;
  }
}

void CRobustBase::Attach(Node* subtree, const uintptr_t* path, size_t depth) {
  if (depth == 0) {
    m_root = subtree;
    return;
  }
  uintptr_t& link = Link(PathNode(path[depth - 1]), path[depth - 1] & kRight);
  link = Address(subtree) | (link & kTall);
}

CRobustBase::Node* CRobustBase::Neighbour(const Node* node, bool right) {
  for (;;) {
    const uintptr_t link = right ? node->right : node->left;
    if (link & kThread) return Target(link);
    node = Target(link);
  }
}

size_t CRobustBase::FindPath(Node* node, uintptr_t* path) const {
  // The parent of a subtree is one of its two neighbours in order. After a step to one of them the
  // other is still the neighbour of the larger subtree, and needs no second scan.
  std::optional<Node*> before;
  std::optional<Node*> after;
  size_t depth = 0;
  while (node != m_root) {
    const bool isLeftOfAfter = after && *after && Child((*after)->left) == node;
    if (!isLeftOfAfter) {
      if (!before) before = Neighbour(node, false);
      if (*before && Child((*before)->right) == node) {
        path[depth++] = Address(*before) | kRight;
        node = *before;
        before.reset();
        continue;
      }
      after = Neighbour(node, true);
    }
    path[depth++] = Address(*after);
    node = *after;
    after.reset();
  }
  std::reverse(path, path + depth);
  return depth;
}

void* CRobustBase::NextItem(const void* item) const {
  const Node* node = m_root;
  if (item) {
    const uintptr_t link = NodeOf(item)->right;
    if (link & kThread) return Target(link) ? ItemOf(Target(link)) : nullptr;
    node = Target(link);
  }
  if (!node) return nullptr;
  while (const Node* next = Child(node->left)) node = next;
  return ItemOf(node);
}

void CRobustBase::LinkIntoChain(void* item) {
  for (CRobustBase* index = m_first; index; index = index->m_next) index->AddNode(item);
  ++m_first->m_count;
}

void CRobustBase::UnlinkFromChain(void* item) {
  for (CRobustBase* index = m_first; index; index = index->m_next) {
    index->UnlinkNode(index->NodeOf(item));
  }
  --m_first->m_count;
}

void CRobustBase::ForgetChain() {
  for (CRobustBase* index = m_first; index; index = index->m_next) index->m_root = nullptr;
  m_first->m_count = 0;
}

void CRobustBase::LeaveChain() {
  for (CRobustBase* index = m_first; index; index = index->m_next) {
    if (index->m_next == this) index->m_next = m_next;
  }
}

// NOLINTEND(clang-analyzer-core.uninitialized.UndefReturn)
// NOLINTEND(performance-no-int-to-ptr,clang-analyzer-core.NullDereference)

}  // namespace quill
