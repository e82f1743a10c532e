// SPDX-License-Identifier: GPL-3.0-or-later
// The store of the image engine: descriptions and signatures of pictures, by the rules of
// CScanStore. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/reference.h"
#include "image/image_info.h"
#include "image/image_prints.h"
#include "storage/scan_store.h"

namespace quill {

// An entry, and at the same time the snapshot of one.
struct ImageEntry {
  // Its parts, as bits of a request.
  enum Part : uint32_t { kInfo = 1, kContent = 2, kExperimental = 4 };

  uint32_t group = 0;    // folder group of this scan, 0 outside a scan
  uint32_t ordinal = 0;  // 0 = not part of the present scan
  CRef<const ImageInfo> info;
  CRef<const ImageContent> content;
  CRef<const ImageExperimental> experimental;

  // Takes over each part that `source` has; parts that it lacks stay.
  void Merge(const ImageEntry& source);
  // After a change of the file: lets go of the signatures of the `asked` kinds.
  void Drop(uint32_t asked);
};

// A walk leaves out the entries of its file's own folder group, unless that is 0.
struct ImageGate {
  uint8_t group = 0;

  [[nodiscard]] bool Cuts(uint8_t otherGroup) const { return group != 0 && group == otherGroup; }
};

struct ImageStoreTraits {
  using Entry = ImageEntry;
  using Info = ImageInfo;
  using Gate = ImageGate;
  using GateKey = uint8_t;  // folder group
  static constexpr CacheRecordType kType = CacheRecordType::kImage;
  static constexpr ScanStoreLines kLines = {361, 366, 549, 550, 686, 726};

  static GateKey KeyOf(const ImageEntry& entry) { return static_cast<uint8_t>(entry.group); }
  static bool WriteRecord(const std::string& path, const ImageEntry& parts, CCacheRecord* record);
  static bool ReadRecord(CCacheReader& reader, std::string* path, ImageEntry* parts);
  static bool WriteState(CSerializer& serializer, std::string_view path, uint8_t group);
  static void Complete(ImageEntry&) {}
};

extern template class CScanStore<ImageStoreTraits>;

using CImageStore = CScanStore<ImageStoreTraits>;

}  // namespace quill
