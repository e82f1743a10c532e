// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/analysis_store.h"

#include <cmath>
#include <tuple>
#include <utility>

#include "core/system_error.h"

namespace quill {
namespace {

// All that a results file tells of a file too.
template <class Info>
auto Told(Info& i) {
  return std::tie(i.path, i.artist, i.album, i.title, i.durationMs, i.bitrate, i.sampleRate,
                  i.dataFormat, i.channels, i.format, i.clipping, i.silence, i.absMean, i.minStep,
                  i.absMax, i.maxFreq, i.clicks, i.averageSpectrum, i.peakSpectrum, i.size);
}

bool Refuse(int32_t line) {
  return CSystemError::Bool("SerializeCache", line, false);
}
bool Short(int32_t line) {
  return CSystemError::Bool("DeserializeCache", line, false);
}

bool WriteRecord(const AnalysisInfo& info, CCacheRecord* record) {
  if (!record->PutString(info.path)) return Refuse(591);
  record->PutU64(info.size);
  record->PutU32(info.modified);
  if (!record->PutString(info.artist)) return Refuse(596);
  if (!record->PutString(info.album)) return Refuse(597);
  if (!record->PutString(info.title)) return Refuse(598);
  record->PutU32(info.durationMs);
  record->PutU32(info.bitrate);
  record->PutU32(info.sampleRate);
  record->PutU8(info.dataFormat);
  record->PutU8(info.channels);
  record->PutU16(info.format);
  for (const float value : {info.clipping, info.silence, info.absMean, info.minStep, info.absMax,
                            info.maxFreq, info.clicks})
    record->PutF32(value);
  record->PutBytes(info.averageSpectrum.data(), info.averageSpectrum.size());
  record->PutBytes(info.peakSpectrum.data(), info.peakSpectrum.size());
  return true;
}

// What is no number was never written, and no order among files could hold it.
bool ReadMetric(CCacheReader& reader, float* value) {
  return reader.GetF32(value) && std::isfinite(*value);
}

bool ReadRecord(CCacheReader& reader, AnalysisInfo* info) {
  if (!reader.GetString(&info->path)) return Short(537);
  if (!reader.GetU64(&info->size)) return Short(545);
  if (!reader.GetU32(&info->modified)) return Short(546);
  if (!reader.GetString(&info->artist)) return Short(547);
  if (!reader.GetString(&info->album)) return Short(548);
  if (!reader.GetString(&info->title)) return Short(549);
  if (!reader.GetU32(&info->durationMs)) return Short(550);
  if (!reader.GetU32(&info->bitrate)) return Short(551);
  if (!reader.GetU32(&info->sampleRate)) return Short(552);
  if (!reader.GetU8(&info->dataFormat)) return Short(553);
  if (!reader.GetU8(&info->channels)) return Short(554);
  if (!reader.GetU16(&info->format)) return Short(555);
  if (!ReadMetric(reader, &info->clipping)) return Short(556);
  if (!ReadMetric(reader, &info->silence)) return Short(557);
  if (!ReadMetric(reader, &info->absMean)) return Short(558);
  if (!ReadMetric(reader, &info->minStep)) return Short(559);
  if (!ReadMetric(reader, &info->absMax)) return Short(560);
  if (!ReadMetric(reader, &info->maxFreq)) return Short(561);
  if (!ReadMetric(reader, &info->clicks)) return Short(562);
  AnalysisInfo::Spectrum& average = info->averageSpectrum;
  AnalysisInfo::Spectrum& peak = info->peakSpectrum;
  if (!reader.GetBytes(average.data(), average.size())) return Short(563);
  if (!reader.GetBytes(peak.data(), peak.size())) return Short(564);
  return true;
}

}  // namespace

CRef<const AnalysisInfo> CAnalysisStore::Find(std::string_view path) const {
  CReadLock lock(m_lock);
  const Stored* entry = m_entries.Find(path);
  return entry ? entry->info : CRef<const AnalysisInfo>();
}

bool CAnalysisStore::Put(const CRef<const AnalysisInfo>& info) {
  Stored* entry = m_entries.Find(std::string_view(info->path));
  if (entry) {
    entry->info = info;
    return true;
  }
  return m_entries.Add({info}) != nullptr;
}

bool CAnalysisStore::File(const CRef<const AnalysisInfo>& info) {
  {
    CWriteLock lock(m_lock);
    if (!Put(info)) return CSystemError::Bool("Process", 506, false);
  }
  CCacheRecord record(CacheRecordType::kAnalysis);
  // A record that cannot be written is reported; the file is then analysed again next time.
  if (WriteRecord(*info, &record)) m_cache.AddCache(record);
  return true;
}

CRef<const AnalysisInfo> CAnalysisStore::GetCache(const AnalysisInfo& wanted) const {
  CRef<const AnalysisInfo> known = Find(wanted.path);
  if (known && Told(*known) == Told(wanted)) return known;
  const CRef<AnalysisInfo> copy = MakeRef<AnalysisInfo>();
  if (!copy) {
    CSystemError::Bool("GetCache", 650, false);
    return {};
  }
  Told(*copy) = Told(wanted);
  return copy;
}

void CAnalysisStore::LoadRecord(CCacheReader reader) {
  const CRef<AnalysisInfo> info = MakeRef<AnalysisInfo>();
  if (!info) {
    Short(535);
    return;
  }
  if (!ReadRecord(reader, info.Get())) return;
  CWriteLock lock(m_lock);
  if (!Put(info)) Short(577);
}

void CAnalysisStore::ClearRecords() {
  CWriteLock lock(m_lock);
  m_entries.Clear();
}

uint32_t CAnalysisStore::RecordCount() const {
  CReadLock lock(m_lock);
  return m_entries.Count();
}

}  // namespace quill
