// Where the image engine reports its pairs; the duplicates controller implements it.
#pragma once

#include <cstdint>

#include "core/reference.h"
#include "image/image_info.h"

namespace quill {

class CImagePairSink {
 public:
  virtual ~CImagePairSink() = default;
  // Worker threads. Scores run from 0 to 1; -1 is not computed. The result is ignored by the
  // engine.
  virtual bool LockedAdd(const CRef<const ImageInfo>& first, uint8_t firstGroup,
                         const CRef<const ImageInfo>& second, uint8_t secondGroup, float content,
                         float experimental) = 0;
};

}  // namespace quill
