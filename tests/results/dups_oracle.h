// SPDX-License-Identifier: GPL-3.0-or-later
// What a duplicates table must show, worked out the plain way.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "core/reference.h"
#include "results/field_id.h"

namespace quill::test {

// Texts that sort as the numbers do.
inline std::string Number(uint64_t value) {
  const std::string digits = std::to_string(value);
  return std::string(20 - digits.size(), '0') + digits;
}

// A record with the facts of another file.
template <class Base>
CRef<Base> Describe(const typename Base::Facts& facts, const std::string& path) {
  CRef<Base> base = MakeRef<Base>();
  static_cast<typename Base::Facts&>(*base) = facts;
  base->path = path;
  return base;
}

// The state of a table in plain maps. Its rows are worked out from nothing each time, and follow
// from the invariants alone; only the addresses that break ties are asked of the model. The Kit
// tells what the tables differ in: Base, Scores, the columns of the scores in their order
// (kScoreColumns), and Text(column, base), which sorts as its own columns do.
template <class Kit>
struct Oracle {
  using Base = typename Kit::Base;
  using Scores = typename Kit::Scores;
  static constexpr size_t kScores = std::tuple_size_v<Scores>;

  struct Item {
    CRef<const Base> file;
    uint8_t folderGroup = 0;
    bool marked = false, expanded = false;
  };
  struct Row {
    std::string item, partner;
    uint32_t group;
  };
  using Key = std::tuple<float, std::string, uintptr_t>;

  std::map<std::string, Item> items;
  std::map<std::pair<std::string, std::string>, Scores> pairs;  // both directions
  FieldId column = FieldId::kFile;
  bool ascending = true, flat = false;

  // False where the model must refuse.
  bool Add(const CRef<const Base>& a, const CRef<const Base>& b, const Scores& scores) {
    items.try_emplace(a->path, Item{a, 1});
    items.try_emplace(b->path, Item{b, 2});
    if (a->path == b->path || pairs.contains({a->path, b->path})) return false;
    pairs[{a->path, b->path}] = pairs[{b->path, a->path}] = scores;
    return true;
  }
  std::vector<std::string> Partners(const std::string& path) const {
    std::vector<std::string> partners;
    for (auto at = pairs.lower_bound({path, ""}); at != pairs.end() && at->first.first == path;
         ++at)
      partners.push_back(at->first.second);
    return partners;
  }
  void RemovePair(const std::string& a, const std::string& b) {
    if (!pairs.erase({a, b})) return;
    pairs.erase({b, a});
    if (Partners(a).empty()) items.erase(a);
    if (Partners(b).empty()) items.erase(b);
  }
  void RemoveItem(const std::string& path) {
    for (const std::string& partner : Partners(path)) RemovePair(path, partner);
  }
  // Several at once: afterwards each pair has its new names.
  void Rename(const std::map<std::string, std::string>& names) {
    const auto now = [&](const std::string& path) {
      const auto found = names.find(path);
      return found == names.end() ? path : found->second;
    };
    decltype(items) newItems;
    for (auto& [path, item] : items) {
      Item& moved = newItems[now(path)] = item;
      moved.file = Describe<Base>(*item.file, now(path));
    }
    decltype(pairs) newPairs;
    for (auto& [key, scores] : pairs) newPairs[{now(key.first), now(key.second)}] = scores;
    items = newItems;
    pairs = newPairs;
  }
  std::string Text(const std::string& path) const {
    const Item& item = items.at(path);
    const size_t slash = path.rfind('/');
    if (column == FieldId::kFile) return path;
    if (column == FieldId::kFolder) return path.substr(0, slash);
    if (column == FieldId::kFilename) return path.substr(slash + 1);
    if (column == FieldId::kSize) return Number(item.file->size);
    if (column == FieldId::kGroup) return Number(item.folderGroup);
    return Kit::Text(column, *item.file);
  }
  template <class Model>
  std::vector<Row> Table(const Model& model) const {
    const size_t score = static_cast<size_t>(
        std::find(Kit::kScoreColumns.begin(), Kit::kScoreColumns.end(), column) -
        Kit::kScoreColumns.begin());
    const auto address = [&](const std::string& path) {
      return reinterpret_cast<uintptr_t>(model.LookUp(path));
    };
    const auto before = [&](const Key& a, const Key& b) { return ascending ? a < b : b < a; };
    std::map<std::string, Key> keys;
    for (const auto& [path, item] : items) {
      float best = -10;
      for (const std::string& partner : Partners(path)) {
        if (score < kScores)
          best = std::max(best, std::min(1.0f, pairs.at({path, partner})[score]));
      }
      keys[path] = {best, Text(path), address(path)};
    }
    const auto byKey = [&](const std::string& a, const std::string& b) {
      return before(keys[a], keys[b]);
    };

    std::vector<std::vector<std::string>> groups;
    std::map<std::string, bool> seen;
    for (const auto& [path, item] : items) {
      if (seen[path] || Partners(path).empty()) continue;
      std::vector<std::string> group{path};
      seen[path] = true;
      for (size_t i = 0; i < group.size() && !flat; ++i) {
        for (const std::string& partner : Partners(group[i])) {
          if (!std::exchange(seen[partner], true)) group.push_back(partner);
        }
      }
      std::sort(group.begin(), group.end(), byKey);
      groups.push_back(group);
    }
    std::sort(groups.begin(), groups.end(),
              [&](const auto& a, const auto& b) { return byKey(a[0], b[0]); });

    std::vector<Row> rows;
    for (size_t i = 0; i < groups.size(); ++i) {
      const auto number = static_cast<uint32_t>(i + 1);
      for (const std::string& path : groups[i]) {
        rows.push_back({path, "", number});
        if (!flat && !items.at(path).expanded) continue;
        std::vector<std::string> partners = Partners(path);
        const auto pairKey = [&](const std::string& partner) {
          return Key{score < kScores ? pairs.at({path, partner})[score] : 0, Text(partner),
                     address(partner)};
        };
        std::sort(partners.begin(), partners.end(),
                  [&](const auto& a, const auto& b) { return before(pairKey(a), pairKey(b)); });
        for (const std::string& partner : partners) rows.push_back({path, partner, number});
      }
    }
    return rows;
  }

  template <class Model>
  void Check(const Model& model) const {
    const std::vector<Row> rows = Table(model);
    ASSERT_EQ(model.RowCount(), rows.size());
    ASSERT_EQ(model.ItemCount(), items.size());
    for (size_t i = 0; i < rows.size(); ++i) {
      const auto* row = model.TableAt(static_cast<int32_t>(i));
      ASSERT_EQ(row->item->base->path, rows[i].item) << "row " << i;
      ASSERT_EQ(row->pair ? row->pair->second->base->path : "", rows[i].partner) << "row " << i;
      ASSERT_EQ(row->item->group, rows[i].group) << "row " << i;
      if (row->pair) {
        ASSERT_EQ(row->pair->first, row->item);
        ASSERT_EQ(row->pair->scores, pairs.at({rows[i].item, rows[i].partner}));
        continue;
      }
      const Item& item = items.at(rows[i].item);
      const auto partners = Partners(rows[i].item);
      ASSERT_EQ(row->item->pairs, partners.size());
      ASSERT_EQ(row->item->marked, item.marked);
      ASSERT_EQ(row->item->expanded, item.expanded);
      ASSERT_TRUE(*row->item->base == *item.file) << rows[i].item;
      ASSERT_EQ(row->item->folderGroup, item.folderGroup);
      for (size_t s = 0; s < kScores; ++s) {
        float minimum = 1, maximum = -10;
        for (const std::string& partner : partners) {
          const float score = pairs.at({rows[i].item, partner})[s];
          minimum = std::min(minimum, score);
          maximum = std::max(maximum, std::min(score, 1.0F));
        }
        ASSERT_EQ(row->item->minimum[s], minimum);
        ASSERT_EQ(row->item->maximum[s], maximum);
      }
      int32_t first = 0, last = 0;
      ASSERT_TRUE(model.TableRange(static_cast<int32_t>(i), &first, &last));
      const auto sameGroup = [&](int32_t at) {
        return at >= 0 && at < static_cast<int32_t>(rows.size()) &&
               rows[static_cast<size_t>(at)].group == rows[i].group;
      };
      ASSERT_TRUE(sameGroup(first) && sameGroup(last));
      ASSERT_FALSE(sameGroup(first - 1) || sameGroup(last + 1));
    }
    ASSERT_EQ(model.GroupCount(), rows.empty() ? 0 : rows.back().group);
  }
};

}  // namespace quill::test
