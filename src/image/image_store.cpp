#include "image/image_store.h"

#include "core/system_error.h"
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

CRef<const ImageInfo> CImageStore::GetCache(std::string_view path, uint32_t width, uint32_t height,
                                            uint8_t format, uint8_t bits, uint64_t size) const {
  const CRef<const ImageInfo> known = FindInfo(path);
  if (known && known->width == width && known->height == height && known->format == format &&
      known->bits == bits && known->size == size)
    return known;
  const CRef<ImageInfo> info = MakeRef<ImageInfo>();
  if (!info) {
    CSystemError::Bool("GetCache", 726, false);
    return {};
  }
  info->path = path;
  info->width = width;
  info->height = height;
  info->format = format;
  info->bits = bits;
  info->size = size;
  return info;
}

}  // namespace quill
