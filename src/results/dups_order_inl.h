// SPDX-License-Identifier: GPL-3.0-or-later
// The orders of a duplicates table: of items, of the pairs below an item, and of rows in a group.
#pragma once

#include <algorithm>

#include "results/dups_model.h"
#include "results/path_parts.h"

namespace quill {

// Of an item or a pair: by the score in that column if it has one, then by the file, and last by
// the file's address, which makes the order total.
template <class Traits>
struct CDupsModel<Traits>::RowKey {
  float score = 0;
  FileKey file;
  const ItemData* item;

  [[nodiscard]] int Compare(const RowKey& other) const {
    int order = CompareValues(score, other.score);
    if (!order) order = file.Compare(other.file);
    return order ? order : CompareAddresses(item, other.item);
  }
};

template <class Traits>
auto CDupsModel<Traits>::KeyOf(const ItemData& item, const Scores& scores) const -> RowKey {
  const size_t score = Traits::ScoreOf(m_sort.column);
  RowKey key{score < kScores ? scores[score] : 0, {}, &item};
  const std::string_view path = item.base->path;
  switch (m_sort.column) {
    case FieldId::kFile:
      key.file = FileKey(path);
      break;
    case FieldId::kFolder:
      key.file = FileKey(FolderPart(path));
      break;
    case FieldId::kFilename:
      key.file = FileKey(NamePart(path));
      break;
    case FieldId::kSize:
      key.file = FileKey(item.base->size);
      break;
    case FieldId::kGroup:
      key.file = FileKey(item.folderGroup);
      break;
    default:
      key.file = Traits::KeyOf(m_sort.column, *item.base);
      break;
  }
  return key;
}

template <class Traits>
bool CDupsModel<Traits>::Before(const RowKey& a, const RowKey& b) const {
  return m_sort.ascending ? a.Compare(b) < 0 : b.Compare(a) < 0;
}

template <class Traits>
bool CDupsModel<Traits>::RowBefore(const ViewData& a, const ViewData& b) const {
  if (a.item != b.item) return Before(KeyOf(*a.item), KeyOf(*b.item));
  if (!b.pair) return false;
  return !a.pair || Before(KeyOf(*a.pair), KeyOf(*b.pair));
}

template <class Traits>
template <class Iterator, class Key>
void CDupsModel<Traits>::SortByKey(Iterator first, Iterator end, Key key) const {
  if (end - first < 2) return;
  using Record = typename std::iterator_traits<Iterator>::value_type;
  std::vector<std::pair<RowKey, Record>> keyed;
  keyed.reserve(static_cast<size_t>(end - first));
  for (Iterator at = first; at != end; ++at) keyed.emplace_back(key(*at), std::move(*at));
  std::sort(keyed.begin(), keyed.end(),
            [this](const auto& a, const auto& b) { return Before(a.first, b.first); });
  for (auto& record : keyed) *first++ = std::move(record.second);
}

}  // namespace quill
