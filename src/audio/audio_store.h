// SPDX-License-Identifier: GPL-3.0-or-later
// The duplicates store of the audio engine: descriptions and prints of sound files, by the rules of
// CScanStore. Any thread.
#pragma once

#include <cstdint>
#include <string_view>

#include "audio/item_base.h"
#include "audio/prints.h"
#include "core/reference.h"
#include "storage/scan_store.h"

namespace quill {

// An entry, and at the same time the snapshot of one.
struct AudioEntry {
  // Its parts, as bits of a request.
  enum Part : uint32_t { kInfo = 1, kSpectrum = 2, kBark = 4, kCorrelogram = 8, kKeys = 16 };

  uint32_t group = 0;    // folder group of this scan, 0 outside a scan
  uint32_t ordinal = 0;  // 0 = not part of the present scan
  CRef<const ItemBase> info;
  CRef<const TagKeys> keys;
  CRef<const SpectrumPrint> spectrum;
  CRef<const BarkPrint> bark;
  CRef<const CorrelogramPrint> correlogram;

  // Takes over each part that `source` has; parts that it lacks stay.
  void Merge(const AudioEntry& source);
  // After a change of the file: lets go of the prints of the `asked` kinds, and always of the keys,
  // which follow from the description.
  void Drop(uint32_t asked);
};

// What a comparison walk can rule out without a look at the entries themselves.
struct AudioGate {
  struct Key {
    uint32_t durationMs;
    uint8_t group;
  };

  uint8_t group = 0;        // cuts entries of this folder group, unless 0
  uint32_t durationMs = 0;  // of the file in hand; 0 switches the duration gate off
  float ratio = 0;          // shorter / longer must reach this; 0 switches the duration gate off

  [[nodiscard]] bool Cuts(const Key& other) const;
};

struct AudioStoreTraits {
  using Entry = AudioEntry;
  using Info = ItemBase;
  using Gate = AudioGate;
  using GateKey = AudioGate::Key;
  static constexpr CacheRecordType kType = CacheRecordType::kAudio;
  static constexpr ScanStoreLines kLines = {407, 412, 700, 701, 1211, 1264};

  static GateKey KeyOf(const AudioEntry& entry);
  static bool WriteRecord(const std::string& path, const AudioEntry& parts, CCacheRecord* record);
  static bool ReadRecord(CCacheReader& reader, std::string* path, AudioEntry* parts);
  static bool WriteState(CSerializer& serializer, std::string_view path, uint8_t group);
  static void Complete(AudioEntry& entry);
};

extern template class CScanStore<AudioStoreTraits>;

using CAudioStore = CScanStore<AudioStoreTraits>;

}  // namespace quill
