// The orders of a duplicates table: of items, of the pairs below an item, and of rows in a group.
#pragma once

#include "results/dups_model.h"
#include "results/path_parts.h"

namespace quill {

template <class T>
[[nodiscard]] int CompareValues(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

template <class Traits>
int CDupsModel<Traits>::Directed(int order) const {
  const int sign = CompareValues(order, 0);
  return m_sort.ascending ? sign : -sign;
}

template <class Traits>
int CDupsModel<Traits>::CompareFiles(const ItemData& a, const ItemData& b) const {
  const std::string_view pathA = a.base->path;
  const std::string_view pathB = b.base->path;
  int order = 0;
  switch (m_sort.column) {
    case FieldId::kFile:
      order = pathA.compare(pathB);
      break;
    case FieldId::kFolder:
      order = FolderPart(pathA).compare(FolderPart(pathB));
      break;
    case FieldId::kFilename:
      order = NamePart(pathA).compare(NamePart(pathB));
      break;
    case FieldId::kSize:
      order = CompareValues(a.base->size, b.base->size);
      break;
    case FieldId::kGroup:
      order = CompareValues(a.folderGroup, b.folderGroup);
      break;
    default:
      order = Traits::CompareFiles(m_sort.column, *a.base, *b.base);
      break;
  }
  return order ? order : CompareAddresses(&a, &b);
}

template <class Traits>
int CDupsModel<Traits>::CompareItems(const ItemData& a, const ItemData& b) const {
  const size_t score = Traits::ScoreOf(m_sort.column);
  if (score < kScores) {
    const int order = CompareValues(a.maximum[score], b.maximum[score]);
    if (order) return Directed(order);
  }
  return Directed(CompareFiles(a, b));
}

template <class Traits>
int CDupsModel<Traits>::ComparePairs(const PairData& a, const PairData& b) const {
  const size_t score = Traits::ScoreOf(m_sort.column);
  if (score < kScores) {
    const int order = CompareValues(a.scores[score], b.scores[score]);
    if (order) return Directed(order);
  }
  return Directed(CompareFiles(*a.second, *b.second));
}

template <class Traits>
bool CDupsModel<Traits>::RowBefore(const ViewData& a, const ViewData& b) const {
  if (a.item != b.item) return CompareItems(*a.item, *b.item) < 0;
  if (!b.pair) return false;
  return !a.pair || ComparePairs(*a.pair, *b.pair) < 0;
}

}  // namespace quill
