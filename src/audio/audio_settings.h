// SPDX-License-Identifier: GPL-3.0-or-later
// What a scan compares and how strictly. Written by one call on the main thread between scans, read
// by the workers with no lock.
#pragma once

#include <cstdint>

namespace quill {

struct AudioSettings {
  enum Mode : uint32_t { kTags = 1, kContent = 2, kPrecise = 4, kDuration = 8 };
  enum TagGate : uint32_t { kArtist = 1, kAlbum = 2, kTitle = 4 };

  uint32_t mode = kTags | kContent | kPrecise | kDuration;
  bool skipVideo = true;
  // Thresholds and the ratio of durations, 0 to 1.
  float tags = 0.75F, content = 0.75F, precise = 0.5F, duration = 0.7F;
  // The tag gate cuts a pair whose field is present on both sides and less alike than its
  // threshold. Off unless set by SetTagGate.
  uint32_t tagGate = 0;
  float gateArtist = 0.95F, gateAlbum = 0.95F, gateTitle = 0.95F;

  // Values are clamped to 0 to 1.
  void Configure(bool tagsOn, bool contentOn, bool preciseOn, bool durationOn, bool skipVideoOn,
                 float tagThreshold, float contentThreshold, float preciseThreshold,
                 float durationRatio);
  void SetTagGate(bool artistOn, bool albumOn, bool titleOn, float artist, float album,
                  float title);
  [[nodiscard]] bool ComparesAnything() const { return mode & (kTags | kContent | kPrecise); }
};

}  // namespace quill
