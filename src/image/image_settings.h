// SPDX-License-Identifier: GPL-3.0-or-later
// What a scan compares of pictures and how strictly. Written by one call on the main thread between
// scans, read by the workers with no lock.
#pragma once

#include <cstdint>

namespace quill {

struct ImageSettings {
  enum Mode : uint32_t { kContent = 1, kExperimental = 2 };

  uint32_t mode = kContent | kExperimental;
  float content = 0.75F, experimental = 0.75F;  // thresholds, 0 to 1

  // Values are clamped to 0 to 1.
  void Configure(bool contentOn, bool experimentalOn, float contentThreshold,
                 float experimentalThreshold);
  [[nodiscard]] bool ComparesAnything() const { return mode != 0; }
};

}  // namespace quill
