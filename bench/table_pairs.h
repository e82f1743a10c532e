// SPDX-License-Identifier: GPL-3.0-or-later
// What the benchmarks of the tables fill them with: 50000 files with texts of usual length, and
// 100000 pairs among them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "audio/item_base.h"

namespace quill::bench {

constexpr size_t kPairs = 100000;
constexpr uint32_t kFiles = 50000;
constexpr uint32_t kCluster = 5;  // files that all match each other: 10 pairs

struct MadePair {
  uint32_t first, second;
  float content;
};

// Either clusters of a few files in random order of arrival, or partners drawn from all files, with
// which most of them end in one group.
inline std::vector<MadePair> Pairs(bool clustered) {
  std::mt19937 random(7);
  std::vector<MadePair> pairs;
  for (uint32_t base = 0; clustered && base < kFiles; base += kCluster) {
    for (uint32_t a = 0; a < kCluster; ++a) {
      for (uint32_t b = a + 1; b < kCluster; ++b) pairs.push_back({base + a, base + b, 0});
    }
  }
  while (!clustered && pairs.size() < kPairs + kPairs / 10) {
    const auto a = static_cast<uint32_t>(random() % kFiles);
    const auto b = static_cast<uint32_t>(random() % kFiles);
    if (a != b) pairs.push_back({std::min(a, b), std::max(a, b), 0});
  }
  const auto key = [](const MadePair& pair) { return uint64_t{pair.first} << 32 | pair.second; };
  std::sort(pairs.begin(), pairs.end(),
            [&](const auto& x, const auto& y) { return key(x) < key(y); });
  pairs.erase(std::unique(pairs.begin(), pairs.end(),
                          [&](const auto& x, const auto& y) { return key(x) == key(y); }),
              pairs.end());
  std::shuffle(pairs.begin(), pairs.end(), random);
  pairs.resize(kPairs);
  for (MadePair& pair : pairs) pair.content = static_cast<float>(random() % 2000) / 20000 + 0.9f;
  return pairs;
}

inline std::vector<CRef<const ItemBase>> Files() {
  std::vector<uint32_t> order(kFiles);
  for (uint32_t i = 0; i < kFiles; ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(3));
  std::vector<CRef<const ItemBase>> files;
  for (uint32_t i : order) {
    auto base = MakeRef<ItemBase>();
    base->artist = "An Artist of Usual Length " + std::to_string(i / 100);
    base->album = "An Album " + std::to_string(i / 10);
    base->title = "A Title of Usual Length " + std::to_string(i * 7919 % kFiles);
    base->path = "/home/someone/Music/" + base->artist + "/" + base->album + "/" +
                 std::to_string(i % 10) + " - " + base->title + ".mp3";
    base->durationMs = i * 7919 % 300000;
    base->size = uint64_t{base->durationMs} * 16;
    files.push_back(base);
  }
  return files;
}

}  // namespace quill::bench
