// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_settings.h"

#include <algorithm>

namespace quill {
namespace {

// Also takes what is not a number to 0.
float Unit(float value) {
  return value > 0 ? std::min(value, 1.0F) : 0.0F;
}

}  // namespace

void ImageSettings::Configure(bool contentOn, bool experimentalOn, float contentThreshold,
                              float experimentalThreshold) {
  mode = (contentOn ? kContent : 0U) | (experimentalOn ? kExperimental : 0U);
  content = Unit(contentThreshold);
  experimental = Unit(experimentalThreshold);
}

}  // namespace quill
