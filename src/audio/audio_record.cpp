// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/audio_record.h"

#include <algorithm>
#include <span>
#include <vector>

#include "core/system_error.h"

namespace quill {
namespace {

enum Content : uint8_t { kInfo = 1, kSpectrum = 2, kBark = 4, kCorrelogram = 8 };

bool Refuse(int32_t line) {
  return CSystemError::Bool("SerializeCache", line, false);
}
bool Short(int32_t line) {
  return CSystemError::Bool("DeserializeCache", line, false);
}

bool WriteInfo(const ItemBase& info, CCacheRecord* record) {
  record->PutU64(info.size);
  record->PutU32(info.modified);
  if (!record->PutString(info.artist)) return Refuse(722);
  if (!record->PutString(info.album)) return Refuse(723);
  if (!record->PutString(info.title)) return Refuse(724);
  record->PutU32(info.durationMs);
  record->PutU32(info.bitrate);
  record->PutU16(info.format);
  return true;
}

bool WriteSpectrum(const SpectrumPrint& print, CCacheRecord* record) {
  if (!record->PutFloats(print.skeleton)) return Refuse(732);
  if (!record->PutFloats(print.deflection)) return Refuse(733);
  if (!record->PutFloats(print.spectrum)) return Refuse(734);
  return true;
}

bool WriteBark(const BarkPrint& print, CCacheRecord* record) {
  for (int32_t band = 0; band < kBarkBands; ++band) {
    if (!record->PutByteVector({print.Band(band), static_cast<size_t>(print.length)}))
      return Refuse(741);
  }
  return true;
}

bool ReadInfo(CCacheReader& reader, const std::string& path, CRef<const ItemBase>* out) {
  const CRef<ItemBase> info = MakeRef<ItemBase>();
  if (!info) return Short(645);
  info->path = path;
  if (!reader.GetU64(&info->size)) return Short(647);
  if (!reader.GetU32(&info->modified)) return Short(648);
  if (!reader.GetString(&info->artist)) return Short(649);
  if (!reader.GetString(&info->album)) return Short(650);
  if (!reader.GetString(&info->title)) return Short(651);
  if (!reader.GetU32(&info->durationMs)) return Short(652);
  if (!reader.GetU32(&info->bitrate)) return Short(653);
  if (!reader.GetU16(&info->format)) return Short(654);
  *out = info;
  return true;
}

bool ReadFloats(CCacheReader& reader, CFloatVector* out) {
  std::vector<float> values;
  if (!reader.GetFloats(&values)) return false;
  out->assign(values.begin(), values.end());
  return true;
}

bool ReadSpectrum(CCacheReader& reader, CRef<const SpectrumPrint>* out) {
  const CRef<SpectrumPrint> print = MakeRef<SpectrumPrint>();
  if (!print) return Short(659);
  if (!ReadFloats(reader, &print->skeleton)) return Short(661);
  if (!ReadFloats(reader, &print->deflection)) return Short(662);
  if (!ReadFloats(reader, &print->spectrum)) return Short(663);
  *out = print;
  return true;
}

bool ReadBark(CCacheReader& reader, CRef<const BarkPrint>* out) {
  const CRef<BarkPrint> print = MakeRef<BarkPrint>();
  if (!print) return Short(669);
  for (int32_t band = 0; band < kBarkBands; ++band) {
    std::span<const uint8_t> series;
    if (!reader.GetByteVector(&series)) return Short(672);
    if (band == 0) print->length = static_cast<int32_t>(series.size());
    if (series.size() > static_cast<size_t>(kBarkLongest) ||
        series.size() != static_cast<size_t>(print->length))
      return Short(673);
    std::copy(series.begin(), series.end(), print->Band(band));
  }
  *out = print;
  return true;
}

bool ReadCorrelogram(CCacheReader& reader, CRef<const CorrelogramPrint>* out) {
  const CRef<CorrelogramPrint> print = MakeRef<CorrelogramPrint>();
  if (!print) return Short(684);
  std::span<const uint8_t> values;
  if (!reader.GetByteVector(&values)) return Short(686);
  if (values.size() % kCorrelogramBands != 0) return Short(687);
  print->values.assign(values.begin(), values.end());
  *out = print;
  return true;
}

}  // namespace

bool WriteAudioRecord(const std::string& path, const AudioEntry& parts, CCacheRecord* record) {
  const uint8_t flags =
      static_cast<uint8_t>((parts.info ? kInfo : 0) | (parts.spectrum ? kSpectrum : 0) |
                           (parts.bark ? kBark : 0) | (parts.correlogram ? kCorrelogram : 0));
  if (flags == 0) return false;
  if (!record->PutString(path)) return Refuse(717);
  record->PutU8(flags);
  if (parts.info && !WriteInfo(*parts.info, record)) return false;
  if (parts.spectrum && !WriteSpectrum(*parts.spectrum, record)) return false;
  if (parts.bark && !WriteBark(*parts.bark, record)) return false;
  if (parts.correlogram && !record->PutByteVector(parts.correlogram->values)) return Refuse(748);
  return true;
}

bool ReadAudioRecord(CCacheReader& reader, std::string* path, AudioEntry* parts) {
  uint8_t flags = 0;
  if (!reader.GetString(path)) return Short(638);
  if (!reader.GetU8(&flags)) return Short(640);
  if (flags & kInfo && !ReadInfo(reader, *path, &parts->info)) return false;
  if (flags & kSpectrum && !ReadSpectrum(reader, &parts->spectrum)) return false;
  if (flags & kBark && !ReadBark(reader, &parts->bark)) return false;
  if (flags & kCorrelogram && !ReadCorrelogram(reader, &parts->correlogram)) return false;
  return true;
}

}  // namespace quill
