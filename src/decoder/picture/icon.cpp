// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/picture/icon.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <vector>

#include "decoder/input/byte_order.h"
#include "decoder/picture/bitmap.h"
#include "decoder/picture/picture_probe.h"
#include "decoder/picture/stored_depth.h"
#include "decoder/picture/vips_picture.h"

namespace quill::decoder {

namespace {

constexpr size_t kDirectoryHeader = 6;
constexpr size_t kEntryBytes = 16;
constexpr size_t kMaxEntries = 256;
constexpr uint64_t kMaxEntrySize = 64 << 20;

struct Entry {
  uint64_t offset = 0;
  uint64_t size = 0;
  bool isPng = false;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t bits = 0;
};

bool IsBetter(const Entry& a, const Entry& b) {
  const auto rank = [](const Entry& entry) {
    return std::tuple(uint64_t{entry.width} * entry.height, entry.bits, entry.size);
  };
  return rank(a) > rank(b);
}

// Where the entry lies; size 0 when that cannot be.
Entry PlaceOf(const uint8_t* record, uint64_t fileSize) {
  const uint64_t size = LittleEndian32(record + 8);
  const uint64_t offset = LittleEndian32(record + 12);
  if (offset < kDirectoryHeader + kEntryBytes || offset + size > fileSize) return {};
  return {.offset = offset, .size = size};
}

// The directory's own words on size and colours are often wrong, so the entry itself is asked.
bool ReadHead(const CInputFile& file, Entry& entry) {
  if (entry.size == 0 || entry.size > kMaxEntrySize) return false;
  std::array<uint8_t, kBitmapHeadBytes> buffer{};
  const std::span<const uint8_t> head(
      buffer.data(),
      file.ReadAt(entry.offset, buffer.data(), std::min<uint64_t>(buffer.size(), entry.size)));
  entry.isPng = IsPng(head);
  if (entry.isPng) {
    entry.bits = PngDepth(head);
    if (entry.bits == 0) return false;
    entry.width = BigEndian32(head.data() + 16);
    entry.height = BigEndian32(head.data() + 20);
    return true;
  }
  BitmapHeader header;
  if (!ReadBitmapHeader(head, true, header)) return false;
  entry.bits = header.bits;
  entry.width = header.width;
  entry.height = header.height;
  return true;
}

std::vector<uint8_t> ReadEntry(const CInputFile& file, const Entry& entry) {
  std::vector<uint8_t> bytes(entry.size);
  bytes.resize(file.ReadAt(entry.offset, bytes.data(), bytes.size()));
  return bytes;
}

}  // namespace

bool IsIconFile(std::span<const uint8_t> head, uint64_t fileSize) {
  return head.size() >= kDirectoryHeader + kEntryBytes && LittleEndian32(head.data()) == 0x10000 &&
         LittleEndian16(head.data() + 4) > 0 &&
         PlaceOf(head.data() + kDirectoryHeader, fileSize).size > 0;
}

std::unique_ptr<CPicture> OpenIcon(const CInputFile& file) {
  std::array<uint8_t, kDirectoryHeader + kMaxEntries * kEntryBytes> directory{};
  const size_t length = file.ReadAt(0, directory.data(), directory.size());
  const size_t count = LittleEndian16(directory.data() + 4);
  Entry best;
  for (size_t i = 0; i < count; ++i) {
    const size_t position = kDirectoryHeader + i * kEntryBytes;
    if (position + kEntryBytes > length) break;
    Entry entry = PlaceOf(directory.data() + position, file.Size());
    if (ReadHead(file, entry) && IsBetter(entry, best)) best = entry;
  }
  if (best.size == 0) return nullptr;
  return best.isPng ? OpenIconPng(ReadEntry(file, best))
                    : OpenBitmap(file, {best.offset, best.size, true});
}

}  // namespace quill::decoder
