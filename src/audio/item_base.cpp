// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/item_base.h"

#include <unicase.h>
#include <unistr.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace quill {
namespace {

struct CFreeBlock {
  void operator()(void* block) const { std::free(block); }
};

bool IsAscii(char c) {
  return static_cast<unsigned char>(c) < 128;
}

}  // namespace

std::u32string NormaliseKey(std::string_view text) {
  std::string kept;
  kept.reserve(text.size());
  for (const char c : text) {
    if (c >= 'A' && c <= 'Z') {
      kept += static_cast<char>(c - 'A' + 'a');
    } else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || !IsAscii(c)) {
      kept += c;
    }
  }
  if (std::all_of(kept.begin(), kept.end(), IsAscii)) return {kept.begin(), kept.end()};

  const auto* bytes = reinterpret_cast<const uint8_t*>(kept.data());
  if (u8_check(bytes, kept.size())) return {};
  size_t length = 0;
  // No language and no normalisation: the result is the same under every locale.
  const std::unique_ptr<uint8_t, CFreeBlock> lower(
      u8_tolower(bytes, kept.size(), nullptr, nullptr, nullptr, &length));
  if (!lower) return {};
  size_t count = 0;
  const std::unique_ptr<uint32_t, CFreeBlock> wide(u8_to_u32(lower.get(), length, nullptr, &count));
  if (!wide) return {};
  return {wide.get(), wide.get() + count};
}

std::string_view FileStem(std::string_view path) {
  const size_t slash = path.rfind('/');
  const std::string_view name = slash == path.npos ? path : path.substr(slash + 1);
  const size_t point = name.rfind('.');
  return point == name.npos || point == 0 ? name : name.substr(0, point);
}

CRef<const TagKeys> MakeTagKeys(const ItemBase& item) {
  const CRef<TagKeys> keys = MakeRef<TagKeys>();
  if (keys) {
    keys->filename = NormaliseKey(FileStem(item.path));
    keys->artist = NormaliseKey(item.artist);
    keys->album = NormaliseKey(item.album);
    keys->title = NormaliseKey(item.title);
  }
  return keys;
}

}  // namespace quill
