// SPDX-License-Identifier: GPL-3.0-or-later
// The ordered container under every cache, the ignore list and the tables of the controllers: a
// threaded AVL tree over item blocks, with any number of secondary indices over the same blocks.
//
// Why not a standard container: removal and re-sorting work from an item's address alone and never
// read a key, so a key may change in place and the item is then repositioned; several orders cost
// one allocation an item; and an item's address never changes while it is in the tree.
//
// Layout of a block: `m_adder` of the first index times a Node (16 bytes), then the item. The index
// with `m_adder` n finds its Node n records before the item. Callers hold item pointers only.
// Tags in the two low bits of a link: 2 = thread (no child on this side, the pointer is the
// neighbour in order, or 0 at the end), 1 = the subtree on this side is one level taller.
//
// Not thread-safe. Global stores put a read-write lock beside their tree; the controllers' tables
// belong to the main thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

namespace quill {

// Links and balance of one index, with no knowledge of the item's type.
class CRobustBase {
 public:
  struct Node {
    uintptr_t left;
    uintptr_t right;
  };
  static constexpr uintptr_t kThread = 2;
  static constexpr uintptr_t kTall = 1;
  static constexpr uintptr_t kTags = 3;

  CRobustBase(const CRobustBase&) = delete;
  CRobustBase& operator=(const CRobustBase&) = delete;
  virtual ~CRobustBase() = default;

  [[nodiscard]] uint32_t Count() const { return m_first->m_count; }

  // A look inside for tests: root of this index, null when empty.
  [[nodiscard]] const Node* Root() const { return m_root; }
  [[nodiscard]] uint32_t Adder() const { return m_adder; }

 protected:
  static constexpr size_t kPathLength = 96;  // far above the height of any tree that fits in memory

  // A primary index.
  CRobustBase();
  // A secondary index at the end of the chain of `first`, whose m_adder grows with it. Chained only
  // if `first` is empty.
  explicit CRobustBase(CRobustBase* first);

  // Links the block of `item` into this index by its comparator.
  virtual void AddNode(void* item) = 0;

  [[nodiscard]] Node* NodeOf(const void* item) const;
  [[nodiscard]] void* ItemOf(const Node* node) const;
  // The node on that side, or null where the link is a thread or empty.
  [[nodiscard]] static Node* Child(uintptr_t link) {
    // The tags lie in the address itself, which is what makes a node small.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return link & kThread ? nullptr : reinterpret_cast<Node*>(link & ~kTags);
  }
  // Links `node` below path[depth - 1]; entries are node addresses with the direction in bit 0
  // (0 left, 1 right). Rebalances upward.
  void LinkNode(Node* node, const uintptr_t* path, size_t depth);
  // Takes `node` out of this index; reads no key.
  void UnlinkNode(Node* node);
  // Next item in order, or null; with null the first.
  [[nodiscard]] void* NextItem(const void* item) const;

  // The chain as a whole: bytes of a block before its item, every index told of a block, every
  // index emptied.
  [[nodiscard]] size_t PrefixBytes() const { return m_first->m_adder * sizeof(Node); }
  void LinkIntoChain(void* item);
  void UnlinkFromChain(void* item);
  void ForgetChain();
  // Takes a secondary index out of the chain. The room for its nodes stays in the blocks.
  void LeaveChain();

  Node* m_root = nullptr;
  uint32_t m_adder = 1;
  CRobustBase* m_first;           // owner of the items; itself in a primary index
  CRobustBase* m_next = nullptr;  // next index of the chain
  uint32_t m_count = 0;           // kept in the first index only

 private:
  // The node before (`right` false) or behind the subtree of `node`, or null.
  [[nodiscard]] static Node* Neighbour(const Node* node, bool right);
  // Fills `path` from the root down to the parent of `node`, without a key; gives its length.
  size_t FindPath(Node* node, uintptr_t* path) const;
  // Puts `subtree` where path[depth - 1] leads to, or at the root; the balance there stays.
  void Attach(Node* subtree, const uintptr_t* path, size_t depth);
  void RebalanceShrunk(const uintptr_t* path, size_t depth);
};

// The plain allocator: null when memory is short.
struct Allocator_Standart {
  static void* Allocate(size_t bytes) { return std::malloc(bytes); }
  static void Free(void* block) { std::free(block); }
};

// `Comparator` is stateless and gives `int Compare(key, item)` for each key form in use, the item
// itself among them (for Add): negative, 0 or positive as the key is before, equal or behind.
template <class Item, class Comparator, class Allocator = Allocator_Standart>
class CRobustTree : public CRobustBase {
  static_assert(alignof(Item) <= sizeof(Node), "the item stands behind whole nodes");

 public:
  CRobustTree() = default;
  // A secondary index over the items of `first`; it must be destroyed before `first`, and then
  // leaves the items alone and takes itself out of the chain.
  explicit CRobustTree(CRobustBase* first) : CRobustBase(first) {}
  ~CRobustTree() override;

  // Copies (or moves) the item into a new block and links it into every index of the chain. Equal
  // keys are allowed and land behind older ones. Null when memory is short, with nothing changed;
  // a block with a low address bit set would lose its tags, and counts as memory short.
  Item* Add(Item item);
  // The first item in order that compares equal to the key, else null.
  template <class... Key>
  [[nodiscard]] Item* Find(const Key&... key) const;
  // The next item in order of this index, or null; with null the first.
  [[nodiscard]] Item* Next(const Item* item) const { return static_cast<Item*>(NextItem(item)); }
  // Destroys the item and gives the next one in the order of this index, so that a loop can remove
  // while it walks.
  Item* Remove(Item* item);
  // Takes the item out of this index only and links it in again by its comparator, after its key
  // has changed. Allocates nothing; other indices of the chain stay as they are.
  void Reposition(Item* item);
  // Destroys all items. Does nothing in a secondary index, which owns none.
  void Clear();

 protected:
  void AddNode(void* item) override;
};

}  // namespace quill

#include "storage/robust_tree_inl.h"
