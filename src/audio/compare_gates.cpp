// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/compare_gates.h"

#include "audio/likeness.h"

namespace quill {
namespace {

bool CutByTags(const AudioSettings& settings, const TagKeys& a, const TagKeys& b) {
  const auto cut = [&](uint32_t bit, const std::u32string& x, const std::u32string& y,
                       float least) {
    return settings.tagGate & bit && !x.empty() && !y.empty() && Likeness(x, y) < least;
  };
  return cut(AudioSettings::kArtist, a.artist, b.artist, settings.gateArtist) ||
         cut(AudioSettings::kAlbum, a.album, b.album, settings.gateAlbum) ||
         cut(AudioSettings::kTitle, a.title, b.title, settings.gateTitle);
}

}  // namespace

AudioGate StoreGate(const AudioSettings& settings, const AudioEntry& target) {
  AudioGate gate;
  gate.group = static_cast<uint8_t>(target.group);
  gate.durationMs = target.info->durationMs;
  if (settings.mode & AudioSettings::kDuration && static_cast<double>(settings.duration) > 1e-6)
    gate.ratio = settings.duration;
  return gate;
}

bool IsPairCut(const AudioSettings& settings, const CIgnoreList& ignores, const AudioEntry& target,
               const AudioEntry& candidate) {
  if (ignores.IsPairIgnored(target.info->path, candidate.info->path)) return true;
  return settings.tagGate != 0 && target.keys && candidate.keys &&
         CutByTags(settings, *target.keys, *candidate.keys);
}

}  // namespace quill
