// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_record.h"

#include <span>

#include "core/system_error.h"

namespace quill {
namespace {

bool Refuse(int32_t line) {
  return CSystemError::Bool("SerializeCache", line, false);
}
bool Short(int32_t line) {
  return CSystemError::Bool("DeserializeCache", line, false);
}

bool ReadInfo(CCacheReader& reader, const std::string& path, CRef<const ImageInfo>* out) {
  const CRef<ImageInfo> info = MakeRef<ImageInfo>();
  if (!info) return Short(505);
  info->path = path;
  if (!reader.GetU64(&info->size)) return Short(507);
  if (!reader.GetU32(&info->modified)) return Short(508);
  if (!reader.GetU32(&info->width)) return Short(509);
  if (!reader.GetU32(&info->height)) return Short(510);
  if (!reader.GetU8(&info->format)) return Short(511);
  if (!reader.GetU8(&info->bits)) return Short(512);
  *out = info;
  return true;
}

bool ReadContent(CCacheReader& reader, CRef<const ImageContent>* out) {
  const CRef<ImageContent> content = MakeRef<ImageContent>();
  if (!content) return Short(518);
  if (!reader.GetFloats(&content->rows)) return Short(520);
  if (!reader.GetFloats(&content->columns)) return Short(521);
  *out = content;
  return true;
}

bool ReadExperimental(CCacheReader& reader, CRef<const ImageExperimental>* out) {
  const CRef<ImageExperimental> experimental = MakeRef<ImageExperimental>();
  if (!experimental) return Short(527);
  std::span<const uint8_t> values;
  if (!reader.GetByteVector(&values)) return Short(529);
  experimental->quadrant1.Assign(values);
  if (!reader.GetByteVector(&values)) return Short(531);
  experimental->quadrant2.Assign(values);
  *out = experimental;
  return true;
}

}  // namespace

bool WriteImageRecord(const std::string& path, const ImageEntry& parts, CCacheRecord* record) {
  using E = ImageEntry;
  const uint32_t mask = (parts.info ? E::kInfo : 0U) | (parts.content ? E::kContent : 0U) |
                        (parts.experimental ? E::kExperimental : 0U);
  if (mask == 0) return false;
  if (!record->PutString(path)) return Refuse(571);
  record->PutU8(static_cast<uint8_t>(mask));
  if (parts.info) {
    record->PutU64(parts.info->size);
    record->PutU32(parts.info->modified);
    record->PutU32(parts.info->width);
    record->PutU32(parts.info->height);
    record->PutU8(parts.info->format);
    record->PutU8(parts.info->bits);
  }
  if (parts.content) {
    if (!record->PutFloats(parts.content->rows)) return Refuse(584);
    if (!record->PutFloats(parts.content->columns)) return Refuse(585);
  }
  if (parts.experimental) {
    if (!record->PutByteVector(parts.experimental->quadrant1.Values())) return Refuse(589);
    if (!record->PutByteVector(parts.experimental->quadrant2.Values())) return Refuse(590);
  }
  return true;
}

bool ReadImageRecord(CCacheReader& reader, std::string* path, ImageEntry* parts) {
  uint8_t mask = 0;
  if (!reader.GetString(path)) return Short(497);
  if (!reader.GetU8(&mask)) return Short(499);
  if (mask & ImageEntry::kInfo && !ReadInfo(reader, *path, &parts->info)) return false;
  if (mask & ImageEntry::kContent && !ReadContent(reader, &parts->content)) return false;
  if (mask & ImageEntry::kExperimental && !ReadExperimental(reader, &parts->experimental))
    return false;
  return true;
}

}  // namespace quill
