// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/field_id.h"

#include <array>

namespace quill {

namespace {

constexpr std::array kIdentifiers = {
    "file",         "pairs",    "folder",  "filename", "content",    "tags",     "precise",
    "experimental", "artist",   "title",   "album",    "size",       "format",   "group",
    "resolution",   "duration", "bitrate", "rating",   "samplerate", "channels", "clipping",
    "silence",      "absmean",  "minstep", "absmax",   "maxfreq",    "clicks",   "spectrogram"};
static_assert(kIdentifiers.size() == static_cast<size_t>(FieldId::kSpectrogram) + 1);

}  // namespace

FieldId FieldIdOf(std::string_view identifier) {
  for (size_t i = 0; i < kIdentifiers.size(); ++i) {
    if (identifier == kIdentifiers[i]) return static_cast<FieldId>(i);
  }
  return FieldId::kNone;
}

const char* FieldIdentifier(FieldId field) {
  const auto index = static_cast<uint32_t>(field);
  return index < kIdentifiers.size() ? kIdentifiers[index] : "";
}

SortState SortState::Decode(int32_t stored) {
  if (stored > 0) return {static_cast<FieldId>(stored - 1), true};
  if (stored < 0) return {static_cast<FieldId>(~stored), false};
  return {};
}

int32_t SortState::Encode() const {
  const auto number = static_cast<int32_t>(column);
  return ascending ? number + 1 : ~number;
}

}  // namespace quill
