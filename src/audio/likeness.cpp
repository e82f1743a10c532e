// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/likeness.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "signal/aligned_allocator.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/likeness.cpp"
#include <hwy/foreach_target.h>
// The macros of each target follow.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quill::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Narrows text and pads it to whole vectors with what matches no character: a type is taken only
// for text that does not have its greatest value. Gives the padded length.
template <class D, class T = hn::TFromD<D>>
size_t Narrow(D d, const char32_t* text, size_t length, T* codes) {
  const size_t padded = hwy::RoundUpTo(length, hn::Lanes(d));
  for (size_t i = 0; i < length; ++i) codes[i] = static_cast<T>(text[i]);
  std::fill(codes + length, codes + padded, std::numeric_limits<T>::max());
  return padded;
}

constexpr size_t kSetSize = 64;

// The hits of both strings, b at most kSetSize long. Level n keeps for each position of a the set
// of positions of b at which the same n characters stand: a set that is not empty is a hit of a,
// and the union of all sets is the hits of b. Quick because strings that differ have few levels.
template <class T>
uint64_t HitsBySets(const char32_t* HWY_RESTRICT a, size_t lengthA, const char32_t* HWY_RESTRICT b,
                    size_t lengthB, void* work) {
  const hn::ScalableTag<T> d;
  const hn::ScalableTag<uint64_t> dSet;
  HWY_ALIGN_MAX T codes[kSetSize];
  const size_t padded = Narrow(d, b, lengthB, codes);
  size_t rows = hwy::RoundUpTo(lengthA, hn::Lanes(dSet));
  uint64_t* HWY_RESTRICT same = static_cast<uint64_t*>(work);
  uint64_t* HWY_RESTRICT ahead = same + rows;  // sets of the next position, one position earlier
  std::fill(same, ahead, uint64_t{0});
  std::fill(ahead, ahead + rows + 1, ~uint64_t{0});
  for (size_t i = 0; i < lengthA; ++i) {
    const auto character = hn::Set(d, static_cast<T>(a[i]));
    auto* bits = reinterpret_cast<uint8_t*>(same + i);
    for (size_t j = 0; j < padded; j += hn::Lanes(d))
      hn::StoreMaskBits(d, hn::Eq(hn::Load(d, codes + j), character), bits + j / 8);
  }

  const auto zero = hn::Zero(dSet);
  uint64_t hits = 0;
  for (size_t n = 1;; ++n) {
    rows = hwy::RoundUpTo(lengthA - n + 1, hn::Lanes(dSet));
    auto united = zero;
    auto hitsA = zero;
    for (size_t i = 0; i < rows; i += hn::Lanes(dSet)) {
      const auto set = hn::And(hn::Load(dSet, same + i), hn::LoadU(dSet, ahead + i + 1));
      hn::Store(hn::ShiftRight<1>(set), dSet, ahead + i);
      united = hn::Or(united, set);
      hitsA = hn::Sub(hitsA, hn::VecFromMask(dSet, hn::Ne(set, zero)));
    }
    ahead[rows] = 0;
    HWY_ALIGN_MAX uint64_t parts[HWY_LANES(uint64_t)];
    hn::Store(united, dSet, parts);
    uint64_t all = 0;
    for (const uint64_t part : parts) all |= part;
    if (all == 0) return hits;
    hits += hn::GetLane(hn::SumOfLanes(dSet, hitsA)) + static_cast<uint64_t>(std::popcount(all));
  }
}

// The hits of b: the sum, over all its positions, of the longest match with any stretch of a. The
// time depends on the lengths only.
template <class T>
uint64_t HitsByRuns(const char32_t* HWY_RESTRICT a, size_t lengthA, const char32_t* HWY_RESTRICT b,
                    size_t lengthB, void* work) {
  const hn::ScalableTag<T> d;
  T* HWY_RESTRICT codes = static_cast<T*>(work);
  const size_t padded = Narrow(d, b, lengthB, codes);
  T* HWY_RESTRICT longest = codes + padded;
  T* HWY_RESTRICT runs = longest + padded;
  std::fill(longest, runs + padded + 1, T{0});
  // runs[j] is the length of the match of a from i on with b from j on.
  for (size_t i = lengthA; i-- > 0;) {
    const auto character = hn::Set(d, static_cast<T>(a[i]));
    for (size_t j = 0; j < padded; j += hn::Lanes(d)) {
      const auto equal = hn::VecFromMask(d, hn::Eq(hn::Load(d, codes + j), character));
      const auto run = hn::And(hn::Sub(hn::LoadU(d, runs + j + 1), equal), equal);
      hn::Store(run, d, runs + j);
      hn::Store(hn::Max(hn::Load(d, longest + j), run), d, longest + j);
    }
  }
  uint64_t hits = 0;
  for (size_t j = 0; j < lengthB; ++j) hits += longest[j];
  return hits;
}

template <class T>
uint64_t HitsAs(const char32_t* a, size_t lengthA, const char32_t* b, size_t lengthB, void* work) {
  // Masks are stored in whole bytes.
  if (lengthB <= kSetSize && hn::Lanes(hn::ScalableTag<T>()) >= 8)
    return HitsBySets<T>(a, lengthA, b, lengthB, work);
  return HitsByRuns<T>(a, lengthA, b, lengthB, work) + HitsByRuns<T>(b, lengthB, a, lengthA, work);
}

// The hits of both, b not longer than a, in the narrowest lanes that hold characters and lengths.
uint64_t Hits(const char32_t* a, size_t lengthA, const char32_t* b, size_t lengthB, void* work) {
  uint32_t bits = static_cast<uint32_t>(lengthB);
  for (size_t i = 0; i < lengthA; ++i) bits |= a[i];
  for (size_t j = 0; j < lengthB; ++j) bits |= b[j];
  if (bits < std::numeric_limits<uint8_t>::max())
    return HitsAs<uint8_t>(a, lengthA, b, lengthB, work);
  if (bits < std::numeric_limits<uint16_t>::max())
    return HitsAs<uint16_t>(a, lengthA, b, lengthB, work);
  return HitsAs<uint32_t>(a, lengthA, b, lengthB, work);
}

}  // namespace
}  // namespace quill::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quill {

namespace {

HWY_EXPORT(Hits);

constexpr float kTitleWeight = 0.4f;
constexpr float kArtistWeight = 0.3f;
constexpr float kFilenameWeight = 0.15f;
constexpr float kAlbumWeight = 0.15f;

// A field that scored nothing counts only when both files have it.
float Divisor(float weight, float value, const std::u32string& a, const std::u32string& b) {
  return value != 0 || (!a.empty() && !b.empty()) ? weight : 0.0f;
}

}  // namespace

float Likeness(std::u32string_view a, std::u32string_view b) {
  if (a.empty() || b.empty()) return 0.0f;
  if (a == b) return 1.0f;
  if (a.size() < b.size()) std::swap(a, b);

  // Two sets for each position of the longer text, or three runs of at most 32 bits; each part
  // rounded up to a vector.
  const size_t bytes = 16 * a.size() + 512;
  alignas(64) std::byte nearby[8192];
  CByteVector distant;
  if (bytes > sizeof nearby) distant.resize(bytes);
  const uint64_t hits = HWY_DYNAMIC_DISPATCH(Hits)(
      a.data(), a.size(), b.data(), b.size(),
      distant.empty() ? static_cast<void*>(nearby) : static_cast<void*>(distant.data()));
  const uint64_t total = a.size() * (a.size() + 1) / 2 + b.size() * (b.size() + 1) / 2;
  return static_cast<float>(hits) / static_cast<float>(total);
}

float TagScore(const TagKeys& target, const TagKeys& candidate) {
  float title = Likeness(target.title, candidate.title);
  float artist = Likeness(target.artist, candidate.artist);
  // Swapped fields must be better in both: most pairs are decided by the first of them.
  if (title < 1 && artist < 1) {
    const float crossArtist = Likeness(target.artist, candidate.title);
    if (crossArtist > artist) {
      const float crossTitle = Likeness(target.title, candidate.artist);
      if (crossTitle > title) {
        title = crossTitle;
        artist = crossArtist;
      }
    }
  }

  const auto standIn = [](float value, const std::u32string& a, const std::u32string& b) {
    return std::max(value, Likeness(a, b));
  };
  if (target.title.empty()) title = standIn(title, target.filename, candidate.title);
  if (candidate.title.empty()) title = standIn(title, target.title, candidate.filename);
  if (target.artist.empty()) artist = standIn(artist, target.filename, candidate.artist);
  if (candidate.artist.empty()) artist = standIn(artist, target.artist, candidate.filename);
  const float filename = Likeness(target.filename, candidate.filename);
  const float album = Likeness(target.album, candidate.album);

  float weights = Divisor(kTitleWeight, title, target.title, candidate.title);
  weights += Divisor(kArtistWeight, artist, target.artist, candidate.artist);
  weights += Divisor(kFilenameWeight, filename, target.filename, candidate.filename);
  weights += Divisor(kAlbumWeight, album, target.album, candidate.album);
  if (weights == 0) return 0.0f;
  const float score = (album * kAlbumWeight + (filename * kFilenameWeight +
                                               (artist * kArtistWeight + title * kTitleWeight))) /
                      weights;
  return std::clamp(score, 0.0f, 1.0f);
}

}  // namespace quill
#endif
