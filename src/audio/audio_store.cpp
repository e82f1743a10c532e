// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/audio_store.h"

#include <algorithm>

#include "audio/audio_record.h"
#include "storage/scan_store_inl.h"

namespace quill {
namespace {

template <class T>
void Take(const CRef<T>& source, CRef<T>* target) {
  if (source) *target = source;
}

}  // namespace

template class CScanStore<AudioStoreTraits>;

void AudioEntry::Merge(const AudioEntry& source) {
  Take(source.info, &info);
  Take(source.keys, &keys);
  Take(source.spectrum, &spectrum);
  Take(source.bark, &bark);
  Take(source.correlogram, &correlogram);
}

void AudioEntry::Drop(uint32_t asked) {
  keys = {};
  if (asked & kSpectrum) spectrum = {};
  if (asked & kBark) bark = {};
  if (asked & kCorrelogram) correlogram = {};
}

bool AudioGate::Cuts(const Key& other) const {
  if (group != 0 && group == other.group) return true;
  if (ratio == 0 || durationMs == 0 || other.durationMs == 0) return false;
  const auto [shorter, longer] = std::minmax(durationMs, other.durationMs);
  return ratio * static_cast<float>(longer) > static_cast<float>(shorter);
}

AudioGate::Key AudioStoreTraits::KeyOf(const AudioEntry& entry) {
  return {entry.info->durationMs, static_cast<uint8_t>(entry.group)};
}

bool AudioStoreTraits::WriteRecord(const std::string& path, const AudioEntry& parts,
                                   CCacheRecord* record) {
  return WriteAudioRecord(path, parts, record);
}

bool AudioStoreTraits::ReadRecord(CCacheReader& reader, std::string* path, AudioEntry* parts) {
  return ReadAudioRecord(reader, path, parts);
}

bool AudioStoreTraits::WriteState(CSerializer& serializer, std::string_view path, uint8_t group) {
  return serializer.WriteAudioState(path, group);
}

void AudioStoreTraits::Complete(AudioEntry& entry) {
  // Without keys the rest of the scan could not compare tags with this file.
  if (!entry.keys) entry.keys = MakeTagKeys(*entry.info);
}

}  // namespace quill
