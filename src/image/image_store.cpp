// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_store.h"

#include "image/image_record.h"
#include "storage/scan_store_inl.h"

namespace quill {

template class CScanStore<ImageStoreTraits>;

void ImageEntry::Merge(const ImageEntry& source) {
  if (source.info) info = source.info;
  if (source.content) content = source.content;
  if (source.experimental) experimental = source.experimental;
}

void ImageEntry::Drop(uint32_t asked) {
  if (asked & kContent) content = {};
  if (asked & kExperimental) experimental = {};
}

bool ImageStoreTraits::WriteRecord(const std::string& path, const ImageEntry& parts,
                                   CCacheRecord* record) {
  return WriteImageRecord(path, parts, record);
}

bool ImageStoreTraits::ReadRecord(CCacheReader& reader, std::string* path, ImageEntry* parts) {
  return ReadImageRecord(reader, path, parts);
}

bool ImageStoreTraits::WriteState(CSerializer& serializer, std::string_view path, uint8_t group) {
  return serializer.WriteImageState(path, group);
}

}  // namespace quill
