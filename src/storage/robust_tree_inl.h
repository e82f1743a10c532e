// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "storage/robust_tree.h"

namespace quill {

template <class Item, class Comparator, class Allocator>
CRobustTree<Item, Comparator, Allocator>::~CRobustTree() {
  if (m_first == this) {
    Clear();
  } else {
    LeaveChain();
  }
}

template <class Item, class Comparator, class Allocator>
Item* CRobustTree<Item, Comparator, Allocator>::Add(Item item) {
  void* block = Allocator::Allocate(PrefixBytes() + sizeof(Item));
  if (reinterpret_cast<uintptr_t>(block) & kTags) {
    Allocator::Free(block);
    return nullptr;
  }
  if (!block) return nullptr;
  Item* added = new (static_cast<char*>(block) + PrefixBytes()) Item(std::move(item));
  LinkIntoChain(added);
  return added;
}

template <class Item, class Comparator, class Allocator>
template <class... Key>
Item* CRobustTree<Item, Comparator, Allocator>::Find(const Key&... key) const {
  Item* found = nullptr;
  for (const Node* node = m_root; node;) {
    Item* item = static_cast<Item*>(ItemOf(node));
    const int order = Comparator::Compare(key..., std::as_const(*item));
    if (order == 0) found = item;
    node = Child(order <= 0 ? node->left : node->right);
  }
  return found;
}

template <class Item, class Comparator, class Allocator>
Item* CRobustTree<Item, Comparator, Allocator>::Remove(Item* item) {
  Item* next = Next(item);
  item->~Item();
  UnlinkFromChain(item);
  Allocator::Free(reinterpret_cast<char*>(item) - PrefixBytes());
  return next;
}

template <class Item, class Comparator, class Allocator>
void CRobustTree<Item, Comparator, Allocator>::Reposition(Item* item) {
  UnlinkNode(NodeOf(item));
  AddNode(item);
}

template <class Item, class Comparator, class Allocator>
void CRobustTree<Item, Comparator, Allocator>::Clear() {
  if (m_first != this) return;
  // The step to the next item reads no item before it, so each can go as soon as it is passed.
  for (Item* item = Next(nullptr); item;) {
    Item* next = Next(item);
    item->~Item();
    Allocator::Free(reinterpret_cast<char*>(item) - PrefixBytes());
    item = next;
  }
  ForgetChain();
}

template <class Item, class Comparator, class Allocator>
void CRobustTree<Item, Comparator, Allocator>::AddNode(void* item) {
  uintptr_t path[kPathLength] = {};
  size_t depth = 0;
  for (const Node* node = m_root; node;) {
    const bool right = Comparator::Compare(*static_cast<const Item*>(item),
                                           *static_cast<const Item*>(ItemOf(node))) >= 0;
    path[depth++] = reinterpret_cast<uintptr_t>(node) | (right ? 1 : 0);
    node = Child(right ? node->right : node->left);
  }
  LinkNode(NodeOf(item), path, depth);
}

}  // namespace quill
