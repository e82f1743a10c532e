// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/rating.h"

#include <algorithm>

namespace quill {

float Rating(const AnalysisInfo& info) {
  const float rate = std::max(static_cast<float>(info.sampleRate), 22050.0F);
  float r = rate < 44100.0F ? (rate - 22050.0F) * 0.5F / 22050.0F + 0.5F : 1.0F;
  // No reported bitrate, as of plain PCM, tells nothing.
  if (info.bitrate != 0) {
    const float bitrate = std::max(static_cast<float>(info.bitrate), 64000.0F);
    if (bitrate < 128000.0F) r *= (bitrate - 64000.0F) * 0.5F / 64000.0F + 0.5F;
  }
  const float highest = std::max(info.maxFreq, 12000.0F);
  if (highest < 18500.0F) r *= (highest - 12000.0F) * 0.5F / 6500.0F + 0.5F;
  if (info.channels == 1) r *= 0.5F;
  r *= 0.3F / (info.clipping * 0.01F + 1.0F) + 0.7F;
  if (info.absMax < 0.75F)
    r *= info.absMax > 0.25F ? (info.absMax - 0.25F) * 0.3F * 2.0F + 0.7F : 0.7F;
  if (info.absMean >= 0.05F)
    r *= info.absMean < 0.1F ? (0.1F - info.absMean) * 0.3F * 20.0F + 0.7F : 0.7F;
  if (info.minStep >= 0.00004F) r *= 0.5F;
  return r;
}

}  // namespace quill
