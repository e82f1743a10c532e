// Where the audio engine reports its pairs; the duplicates controller implements it.
#pragma once

#include <cstdint>

#include "audio/item_base.h"
#include "core/reference.h"

namespace quill {

class CAudioPairSink {
 public:
  virtual ~CAudioPairSink() = default;
  // Worker threads. Scores run from 0 to 1; -1 is not computed. The result is ignored by the
  // engine.
  virtual bool LockedAdd(const CRef<const ItemBase>& first, uint8_t firstGroup,
                         const CRef<const ItemBase>& second, uint8_t secondGroup, float tags,
                         float content, float precise) = 0;
};

}  // namespace quill
