// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/audio_analyser.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "audio/channel_analyser.h"
#include "audio/text_field.h"
#include "core/system_error.h"
#include "decoding/channel_splitter.h"
#include "storage/file_info.h"

namespace quill {
namespace {

// Above every rate that a codec has. A damaged header may claim any, and ten seconds are held.
constexpr uint32_t kMostRate = 4000000;

bool Failed(int32_t line, int32_t result) {
  CSystemError::Integer("Process", line, result);
  return false;
}

// A file of floats may hold anything: what is no number counts as silence.
void KeepNumbers(CFloatVector* samples) {
  constexpr float kGreatest = std::numeric_limits<float>::max();
  for (float& sample : *samples) sample = std::fabs(sample) <= kGreatest ? sample : 0.0f;
}

void TakeMetrics(const CChannelAnalyser& channel, AnalysisInfo* info) {
  info->clipping = static_cast<float>(channel.Clipping());
  info->silence = static_cast<float>(channel.Silences());
  info->absMean = channel.AbsMean();
  info->minStep = channel.MinStep();
  info->absMax = channel.AbsMax();
  info->maxFreq = static_cast<float>(channel.MaxFreq());
  info->clicks = static_cast<float>(channel.Clicks());
  channel.Spectra(&info->averageSpectrum, &info->peakSpectrum);
}

void MergeSpectrum(const AnalysisInfo::Spectrum& other, AnalysisInfo::Spectrum* bytes) {
  for (size_t band = 0; band < bytes->size(); ++band)
    (*bytes)[band] = static_cast<uint8_t>(((*bytes)[band] + other[band]) >> 1);
}

void Merge(const AnalysisInfo& second, AnalysisInfo* info) {
  info->clipping += second.clipping;
  info->silence += second.silence;
  info->absMean = std::max(info->absMean, second.absMean);
  info->minStep = std::max(info->minStep, second.minStep);
  // The quieter channel's peak decides: a channel that is too low is a fault of the file.
  info->absMax = std::min(info->absMax, second.absMax);
  info->maxFreq = std::max(info->maxFreq, second.maxFreq);
  info->clicks += second.clicks;
  MergeSpectrum(second.averageSpectrum, &info->averageSpectrum);
  MergeSpectrum(second.peakSpectrum, &info->peakSpectrum);
}

// The bits that the file really spends on a second of sound, in place of a claim that is more than
// a tenth off.
uint32_t TrueBitrate(uint32_t claimed, uint64_t size, uint32_t durationMs) {
  if (durationMs < 1000) return claimed;
  const uint64_t real = size * 8 / (durationMs / 1000);
  const uint64_t stored = claimed;
  if (real == 0) return claimed;
  const bool isOff = stored < real * 9 / 10 || (stored > real && real < stored * 9 / 10);
  return isOff ? static_cast<uint32_t>(std::min<uint64_t>(real, UINT32_MAX)) : claimed;
}

}  // namespace

CAudioAnalyser::CAudioAnalyser(CAudioDecoder& decoder, CAnalysisStore& store,
                               const CIgnoreList& ignores, CAnalysisSink& sink)
    : m_decoder(decoder), m_store(store), m_ignores(ignores), m_sink(sink) {}

bool CAudioAnalyser::Process(const std::string& path) {
  if (m_ignores.IsFileIgnored(path)) return false;
  FileInfo file;
  const CRef<const AnalysisInfo> known = m_store.Find(path);
  if (known) {
    if (!GetFileInfo(path, &file)) return CSystemError::Bool("Process", 391, false);
    if (file == FileInfoOf(*known)) return m_sink.LockedAdd(known);
  }
  const CRef<AnalysisInfo> info = MakeRef<AnalysisInfo>();
  if (!info) return CSystemError::Bool("Process", 406, false);
  if (!known && !GetFileInfo(path, &file)) return CSystemError::Bool("Process", 408, false);
  info->path = path;
  info->size = file.size;
  info->modified = file.modified;
  if (m_fft.Size() == 0 && !m_fft.Init(CChannelAnalyser::kTransform))
    return CSystemError::Bool("Process", 410, false);

  if (const int32_t result = m_decoder.Open(path, 0); result != kDecodeOk)
    return Failed(416, result);
  bool isLost = false;
  const bool measured = Measure(info.Get(), &isLost);
  if (!isLost) (void)m_decoder.Close();
  if (!measured) return false;
  return m_store.File(info) && m_sink.LockedAdd(info);
}

bool CAudioAnalyser::Measure(AnalysisInfo* info, bool* isLost) {
  AudioFormat format;
  (void)m_decoder.GetFormat(&format);
  if (format.channelsFormat != wire::kMono && format.channelsFormat != wire::kStereo) return false;
  if (format.sampleRate == 0 || format.sampleRate > kMostRate)
    return Failed(419, static_cast<int32_t>(format.sampleRate));
  wire::AudioInfo told{};
  if (m_decoder.GetInfo(&told) == kDecodeLinkFailed) {
    *isLost = true;
    return Failed(424, kDecodeLinkFailed);
  }

  std::array<CChannelAnalyser, 2> channels = {CChannelAnalyser(format.sampleRate, m_fft),
                                              CChannelAnalyser(format.sampleRate, m_fft)};
  CFloatVector left, right;
  uint64_t frames = 0;
  for (;;) {
    if (const int32_t result = GetData(m_decoder, &left, &right); result != kDecodeOk) {
      *isLost = result == kDecodeLinkFailed;
      return Failed(435, result);
    }
    if (left.empty()) break;
    if (format.dataFormat == wire::kFloat32) {
      KeepNumbers(&left);
      KeepNumbers(&right);
    }
    channels[0].Add(left.data(), left.size());
    frames += left.size();
    if (!right.empty()) channels[1].Add(right.data(), right.size());
  }

  channels[0].Finish();
  TakeMetrics(channels[0], info);
  if (format.channelsFormat == wire::kStereo) {
    channels[1].Finish();
    AnalysisInfo second;
    TakeMetrics(channels[1], &second);
    Merge(second, info);
  }
  info->durationMs = static_cast<uint32_t>(frames * 1000 / format.sampleRate);
  info->bitrate = TrueBitrate(told.bitrate, info->size, info->durationMs);
  info->sampleRate = format.sampleRate;
  info->dataFormat = static_cast<uint8_t>(format.dataFormat);
  info->channels = static_cast<uint8_t>(format.channelsFormat);
  info->format = static_cast<uint16_t>(told.format);
  info->title = TextField(told.title);
  info->artist = TextField(told.artist);
  info->album = TextField(told.album);
  return true;
}

}  // namespace quill
