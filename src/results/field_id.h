// SPDX-License-Identifier: GPL-3.0-or-later
// The columns of the three result tables, numbered once for all: sort settings are stored by these
// numbers, and a column's identifier text resolves to them.
#pragma once

#include <cstdint>
#include <string_view>

namespace quill {

enum class FieldId : int32_t {
  kNone = -1,
  kFile = 0,
  kPairs,
  kFolder,
  kFilename,
  kContent,
  kTags,
  kPrecise,
  kExperimental,
  kArtist,
  kTitle,
  kAlbum,
  kSize,
  kFormat,
  kGroup,
  kResolution,
  kDuration,
  kBitrate,
  kRating,
  kSampleRate,
  kChannels,
  kClipping,
  kSilence,
  kAbsMean,
  kMinStep,
  kAbsMax,
  kMaxFreq,
  kClicks,
  kSpectrogram,
};

// By identifier ("file", "pairs", …); kNone for any other.
[[nodiscard]] FieldId FieldIdOf(std::string_view identifier);
// Empty for a number that is no column.
[[nodiscard]] const char* FieldIdentifier(FieldId field);

// Sort state as the settings store it: column + 1 for ascending, the bit complement of the column
// for descending.
struct SortState {
  FieldId column = FieldId::kFile;
  bool ascending = true;

  // 0, which no state encodes to, reads as the default. A number that is no column is kept, and
  // sorts by nothing but the last resort of each table.
  [[nodiscard]] static SortState Decode(int32_t stored);
  [[nodiscard]] int32_t Encode() const;
};

}  // namespace quill
