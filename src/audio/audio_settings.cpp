// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/audio_settings.h"

#include <algorithm>

namespace quill {
namespace {

// Also takes what is not a number to 0.
float Unit(float value) {
  return value > 0 ? std::min(value, 1.0F) : 0.0F;
}

}  // namespace

void AudioSettings::Configure(bool tagsOn, bool contentOn, bool preciseOn, bool durationOn,
                              bool skipVideoOn, float tagThreshold, float contentThreshold,
                              float preciseThreshold, float durationRatio) {
  mode = (tagsOn ? kTags : 0U) | (contentOn ? kContent : 0U) | (preciseOn ? kPrecise : 0U) |
         (durationOn ? kDuration : 0U);
  skipVideo = skipVideoOn;
  tags = Unit(tagThreshold);
  content = Unit(contentThreshold);
  precise = Unit(preciseThreshold);
  duration = Unit(durationRatio);
}

void AudioSettings::SetTagGate(bool artistOn, bool albumOn, bool titleOn, float artist, float album,
                               float title) {
  tagGate = (artistOn ? kArtist : 0U) | (albumOn ? kAlbum : 0U) | (titleOn ? kTitle : 0U);
  gateArtist = Unit(artist);
  gateAlbum = Unit(album);
  gateTitle = Unit(title);
}

}  // namespace quill
