// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/robust_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace quill {
namespace {

// A key for each of three orders. Text keys too long for the small buffer: a key read after its
// item was destroyed is seen by the address sanitizer.
struct Item {
  std::array<std::string, 3> keys;
  int number = 0;
};

int g_comparisons = 0;

template <size_t kIndex>
struct ByKey {
  static int Compare(const std::string& key, const Item& item) {
    ++g_comparisons;
    return key.compare(item.keys[kIndex]);
  }
  static int Compare(const Item& key, const Item& item) { return Compare(key.keys[kIndex], item); }
};

struct FailingAllocator {
  enum Mode { kPlain, kNull, kOdd };
  static inline Mode s_mode = kPlain;
  static inline int s_live = 0;

  static void* Allocate(size_t bytes) {
    if (s_mode == kNull) return nullptr;
    ++s_live;
    char* block = static_cast<char*>(std::malloc(bytes + 16));
    return s_mode == kOdd ? block + 2 : block;
  }
  static void Free(void* block) {
    if (!block) return;
    --s_live;
    std::free(reinterpret_cast<char*>(reinterpret_cast<uintptr_t>(block) & ~uintptr_t{15}));
  }
};

template <size_t kIndex>
using Tree = CRobustTree<Item, ByKey<kIndex>, FailingAllocator>;

const Item* ItemAt(const CRobustBase& tree, const CRobustBase::Node* node) {
  return reinterpret_cast<const Item*>(node + tree.Adder());
}

// Height of the subtree, with every balance tag held against the true heights. Appends the nodes
// in order.
int CheckSubtree(const CRobustBase::Node* node, std::vector<const CRobustBase::Node*>& order) {
  const auto child = [](uintptr_t link) {
    return link & 2 ? nullptr : reinterpret_cast<const CRobustBase::Node*>(link & ~uintptr_t{3});
  };
  if (!node) return 0;
  EXPECT_NE(node->left & 3, 3u);
  EXPECT_NE(node->right & 3, 3u);
  const int left = CheckSubtree(child(node->left), order);
  order.push_back(node);
  const int right = CheckSubtree(child(node->right), order);
  EXPECT_LE(std::abs(left - right), 1);
  EXPECT_EQ(node->left & 1, left > right ? 1u : 0u);
  EXPECT_EQ(node->right & 1, right > left ? 1u : 0u);
  return 1 + std::max(left, right);
}

// The whole index against the items expected, in order.
template <class Index>
void CheckIndex(const Index& index, const std::vector<Item*>& expected) {
  std::vector<const CRobustBase::Node*> nodes;
  CheckSubtree(index.Root(), nodes);
  ASSERT_EQ(nodes.size(), expected.size());
  ASSERT_EQ(index.Count(), expected.size());
  for (size_t i = 0; i < nodes.size(); ++i) {
    ASSERT_EQ(ItemAt(index, nodes[i]), expected[i]) << "at " << i;
    const auto address = [&](size_t at) { return reinterpret_cast<uintptr_t>(nodes[at]); };
    if (nodes[i]->left & 2) {
      ASSERT_EQ(nodes[i]->left & ~uintptr_t{3}, i == 0 ? 0 : address(i - 1));
    }
    if (nodes[i]->right & 2) {
      ASSERT_EQ(nodes[i]->right & ~uintptr_t{3}, i + 1 == nodes.size() ? 0 : address(i + 1));
    }
  }
  Item* item = nullptr;
  for (Item* wanted : expected) ASSERT_EQ(item = index.Next(item), wanted);
  ASSERT_EQ(index.Next(item), nullptr);
}

// Three indices over the same items beside three ordered vectors.
struct Fixture {
  Tree<0> first;
  Tree<1> second{&first};
  Tree<2> third{&first};
  std::array<std::vector<Item*>, 3> expected;

  void Insert(Item* item, size_t index) {
    auto& list = expected[index];
    list.insert(std::upper_bound(list.begin(), list.end(), item,
                                 [&](Item* a, Item* b) { return a->keys[index] < b->keys[index]; }),
                item);
  }
  void InsertAll(Item* item) {
    for (size_t index : {0, 1, 2}) Insert(item, index);
  }
  void Erase(Item* item, size_t index) {
    auto& list = expected[index];
    list.erase(std::find(list.begin(), list.end(), item));
  }
  void EraseAll(Item* item) {
    for (size_t index : {0, 1, 2}) Erase(item, index);
  }
  void Reposition(Item* item, size_t index) {
    if (index == 0) first.Reposition(item);
    if (index == 1) second.Reposition(item);
    if (index == 2) third.Reposition(item);
  }
  void Check() {
    CheckIndex(first, expected[0]);
    CheckIndex(second, expected[1]);
    CheckIndex(third, expected[2]);
  }
};

std::string KeyOf(uint32_t number) {
  return "a key that is longer than a small string " + std::to_string(100000 + number);
}

// Few keys give long runs of equals, many give none; the small tree passes through empty often.
class RobustTreeTest : public testing::TestWithParam<std::array<uint32_t, 3>> {};

TEST_P(RobustTreeTest, HoldsEveryInvariantUnderRandomOperations) {
  const auto [keys, size, seed] = GetParam();
  std::mt19937 random(seed);
  const auto pick = [&](uint32_t count) { return static_cast<uint32_t>(random() % count); };
  Fixture f;
  int number = 0;
  for (int step = 0; step < 8000 && !HasFatalFailure(); ++step) {
    const uint32_t act = pick(10);
    const size_t count = f.expected[0].size();
    // Grows towards `size` and shrinks from there, in waves.
    const bool growing = step / 1000 % 2 == 0 ? act < 6 : act < 2;
    if (count == 0 || (growing && count < size)) {
      Item* item =
          f.first.Add({{KeyOf(pick(keys)), KeyOf(pick(keys)), KeyOf(pick(keys))}, ++number});
      ASSERT_NE(item, nullptr);
      f.InsertAll(item);
    } else if (act < 8) {
      Item* item = f.expected[0][pick(static_cast<uint32_t>(count))];
      auto& order = f.expected[1];
      const auto next = std::next(std::find(order.begin(), order.end(), item));
      Item* wanted = next == order.end() ? nullptr : *next;
      g_comparisons = 0;
      ASSERT_EQ(f.second.Remove(item), wanted);
      ASSERT_EQ(g_comparisons, 0);
      f.EraseAll(item);
    } else {
      const size_t index = pick(3);
      Item* item = f.expected[0][pick(static_cast<uint32_t>(count))];
      const int mark = item->number;
      item->keys[index] = KeyOf(pick(keys));
      f.Reposition(item, index);
      ASSERT_EQ(item->number, mark);
      f.Erase(item, index);
      f.Insert(item, index);
    }
    f.Check();
    const std::string key = KeyOf(pick(keys + 1));
    const auto lower = std::find_if(f.expected[2].begin(), f.expected[2].end(),
                                    [&](const Item* item) { return item->keys[2] >= key; });
    Item* bound = lower == f.expected[2].end() ? nullptr : *lower;
    ASSERT_EQ(f.third.Find(key), bound && bound->keys[2] == key ? bound : nullptr);
  }
  // Remove while walking, in another order than that of the owner.
  for (Item* item = f.third.Next(nullptr); item;) {
    ASSERT_EQ(item, f.expected[2].front());
    f.EraseAll(item);
    item = f.third.Remove(item);
    f.Check();
  }
  EXPECT_EQ(f.first.Root(), nullptr);
  EXPECT_EQ(f.first.Count(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Shapes, RobustTreeTest,
                         testing::Values(std::array<uint32_t, 3>{5, 12, 1},
                                         std::array<uint32_t, 3>{40, 60, 2},
                                         std::array<uint32_t, 3>{100000, 250, 3},
                                         std::array<uint32_t, 3>{7, 250, 4}));

TEST(RobustTree, AddThatFindsNoMemoryChangesNothing) {
  {
    Fixture f;
    Item* item = f.first.Add({{KeyOf(1), KeyOf(1), KeyOf(1)}, 0});
    f.InsertAll(item);
    for (auto mode : {FailingAllocator::kNull, FailingAllocator::kOdd}) {
      FailingAllocator::s_mode = mode;
      EXPECT_EQ(f.first.Add({{KeyOf(2), KeyOf(2), KeyOf(2)}, 0}), nullptr);
      FailingAllocator::s_mode = FailingAllocator::kPlain;
      EXPECT_EQ(FailingAllocator::s_live, 1);
      f.Check();
    }
  }
  EXPECT_EQ(FailingAllocator::s_live, 0);
}

TEST(RobustTree, SecondaryIndexJoinsOnlyAnEmptyTreeAndMayLeaveAFullOne) {
  Tree<0> first;
  Tree<2> third(&first);
  {
    Tree<1> second(&first);
    EXPECT_EQ(first.Adder(), 3u);
    EXPECT_EQ(third.Adder(), 2u);
    EXPECT_EQ(second.Adder(), 1u);
    for (uint32_t i = 0; i < 20; ++i) {
      ASSERT_NE(first.Add({{KeyOf(i), KeyOf(i), KeyOf(20 - i)}, 0}), nullptr);
    }
    Tree<1> late(&first);
    EXPECT_EQ(first.Adder(), 3u);
    EXPECT_EQ(late.Count(), 0u);
    EXPECT_EQ(late.Next(nullptr), nullptr);
    second.Clear();
    EXPECT_EQ(first.Count(), 20u);
  }
  // The chain goes on without the index that has died.
  ASSERT_NE(first.Add({{KeyOf(30), KeyOf(30), KeyOf(30)}, 0}), nullptr);
  EXPECT_EQ(third.Next(nullptr)->keys[0], KeyOf(19));
  first.Remove(first.Find(KeyOf(19)));
  EXPECT_EQ(third.Next(nullptr)->keys[0], KeyOf(18));
  first.Clear();
  EXPECT_EQ(third.Root(), nullptr);
  EXPECT_EQ(FailingAllocator::s_live, 0);
}

TEST(RobustTree, SortedArrivalStaysBalancedBothWays) {
  for (bool rising : {true, false}) {
    Fixture f;
    for (uint32_t i = 0; i < 500; ++i) {
      const uint32_t up = rising ? i : 1000 - i;
      Item* item = f.first.Add({{KeyOf(up), KeyOf(1000 - up), KeyOf(0)}, 0});
      for (size_t index : {0, 1, 2}) f.Insert(item, index);
    }
    f.Check();
    while (!f.expected[0].empty()) {
      Item* item = f.expected[0].front();
      f.first.Remove(item);
      for (size_t index : {0, 1, 2}) f.Erase(item, index);
      f.Check();
    }
  }
}

}  // namespace
}  // namespace quill
