// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/audio_comparer.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "audio/compare_gates.h"
#include "audio/likeness.h"
#include "audio/text_field.h"
#include "core/log.h"
#include "core/system_error.h"
#include "signal/correlation.h"

namespace quill {
namespace {

constexpr float kNoScore = -1;
constexpr size_t kSpectrumSize = 2048;
constexpr uint32_t kAnyPrint =
    CAudioComparer::kSpectrum | CAudioComparer::kBark | CAudioComparer::kCorrelogram;
constexpr uint32_t kDecoded = CAudioComparer::kInfo | kAnyPrint;

// What of `request` a fresh entry still lacks. The kinds of print exclude each other by the length
// of the sound, so one of them also answers for those that the file can never have.
uint32_t Missing(const AudioEntry& entry, uint32_t request) {
  using C = CAudioComparer;
  request &= ~uint32_t{C::kInfo};
  if (entry.keys) request &= ~uint32_t{C::kKeys};
  if (entry.spectrum) request &= ~uint32_t{C::kSpectrum | C::kCorrelogram};
  if (entry.bark) request &= ~uint32_t{C::kBark | C::kCorrelogram};
  if (entry.correlogram) request &= ~kAnyPrint;
  return request;
}

}  // namespace

CAudioComparer::CAudioComparer(CAudioDecoder& decoder, CAudioStore& store,
                               const CIgnoreList& ignores, const AudioSettings& settings,
                               CAudioPairSink& sink, COpenCL* device)
    : m_decoder(decoder),
      m_store(store),
      m_ignores(ignores),
      m_settings(settings),
      m_sink(sink),
      m_device(device) {}

bool CAudioComparer::AddFile(const std::string& path, uint8_t group) {
  if (!m_settings.ComparesAnything()) return false;
  uint32_t request = 0;
  if (m_settings.mode & AudioSettings::kContent) request |= kSpectrum;
  if (m_settings.mode & AudioSettings::kTags || m_settings.tagGate != 0) request |= kKeys;
  if (m_settings.mode & AudioSettings::kPrecise) request |= kBark | kCorrelogram;
  return PrepareFile(path, group, request) && CompareFile(path);
}

bool CAudioComparer::KnowsFile(const std::string& path) const {
  AudioEntry known;
  FileInfo file;
  return m_store.FindEntry(path, &known) && GetFileInfo(path, &file) &&
         file == FileInfoOf(*known.info);
}

bool CAudioComparer::PrepareFile(const std::string& path, uint8_t group, uint32_t request) {
  request |= kInfo;
  const uint32_t asked = request;
  AudioEntry parts;
  AudioEntry known;
  FileInfo file;
  const bool isKnown = m_store.FindEntry(path, &known);
  if (isKnown) {
    if (!GetFileInfo(path, &file)) return CSystemError::Bool("PrepareFile", 290, false);
    if (file == FileInfoOf(*known.info)) {
      request = Missing(known, request);
      if (request & kKeys) {
        parts.keys = MakeTagKeys(*known.info);
        if (!parts.keys) return CSystemError::Bool("PrepareFile", 303, false);
        request &= ~uint32_t{kKeys};
      }
    }
  }
  const bool decodes = (request & kDecoded) != 0;
  if (decodes) {
    if (!ReadFile(path, isKnown ? &file : nullptr, request, &parts)) return false;
    if (request & kKeys) {
      parts.keys = MakeTagKeys(*parts.info);
      if (!parts.keys) return CSystemError::Bool("PrepareFile", 339, false);
    }
    if (!MakePrints(request, &parts)) return false;
  }
  return m_store.File(path, parts, group, decodes, asked) == CAudioStore::Filed::kYes;
}

bool CAudioComparer::ReadFile(const std::string& path, const FileInfo* known, uint32_t request,
                              AudioEntry* parts) {
  if (m_decoder.Open(path, m_settings.skipVideo ? wire::kRefuseVideo : 0) != kDecodeOk)
    return false;
  bool read = true;
  if (request & kInfo) {
    wire::AudioInfo info;
    const int32_t result = m_decoder.GetInfo(&info);
    // No Close: the child is gone.
    if (result == kDecodeLinkFailed) return CSystemError::Bool("PrepareFile", 326, false);
    read = MakeItem(path, known, result == kDecodeOk ? &info : nullptr, parts);
  }
  if (read && request & kAnyPrint) {
    CSampleConverter reader;
    read = reader.Init(m_decoder, kPrintRate) && m_sound.LoadSound(reader, kLongSound, kMostSound);
  }
  (void)m_decoder.Close();
  return read;
}

bool CAudioComparer::MakeItem(const std::string& path, const FileInfo* known,
                              const wire::AudioInfo* info, AudioEntry* parts) {
  const CRef<ItemBase> item = MakeRef<ItemBase>();
  if (!item) return CSystemError::Bool("PrepareFile", 318, false);
  FileInfo file;
  if (known) {
    file = *known;
  } else if (!GetFileInfo(path, &file)) {
    return CSystemError::Bool("PrepareFile", 320, false);
  }
  item->path = path;
  item->size = file.size;
  item->modified = file.modified;
  if (info) {
    item->title = TextField(info->title);
    item->artist = TextField(info->artist);
    item->album = TextField(info->album);
    item->durationMs = info->durationMs;
    item->bitrate = info->bitrate;
    item->format = static_cast<uint16_t>(info->format);
  }
  parts->info = item;
  return true;
}

bool CAudioComparer::MakePrints(uint32_t request, AudioEntry* parts) {
  if (m_sound.Samples().size() < kLongSound) {
    if (!(request & kCorrelogram)) return true;
    const CRef<CorrelogramPrint> print = MakeRef<CorrelogramPrint>();
    if (!print) return CSystemError::Bool("PrepareFile", 362, false);
    if (!m_sound.CalculateCorrelogram(&print->values)) return false;
    parts->correlogram = print;
    return true;
  }
  if (request & kSpectrum) {
    const CRef<SpectrumPrint> print = MakeRef<SpectrumPrint>();
    if (!print) return CSystemError::Bool("PrepareFile", 372, false);
    if (!m_sound.CalculateFFTDeflection(&print->spectrum, &print->deflection) ||
        !m_sound.CalculateSkeleton(&print->skeleton))
      return false;
    parts->spectrum = print;
  }
  if (request & kBark) {
    const CRef<BarkPrint> print = MakeRef<BarkPrint>();
    if (!print) return CSystemError::Bool("PrepareFile", 380, false);
    if (!m_sound.AnalyseSound(print.Get())) return false;
    parts->bark = print;
  }
  return true;
}

void CAudioComparer::UseDevice(const std::string& path) {
  m_deviceScores.clear();
  // A worker that finds the device busy does not wait for it.
  if (!m_device || !m_device->TryAcquire()) return;
  const bool done = ProcessCL(*m_device, m_store, m_ignores, m_settings, path, &m_deviceScores);
  m_device->Release();
  if (done) return;
  CLog::Instance().Line("OpenCL use failed");
  m_deviceScores.clear();
}

bool CAudioComparer::CompareFile(const std::string& path) {
  UseDevice(path);
  AudioEntry target;
  if (!m_store.FindEntry(path, &target)) return false;
  const AudioGate gate = StoreGate(m_settings, target);

  m_targetReady = false;
  return m_store.ForEachBefore(gate, target.ordinal, [&](const AudioEntry& candidate) {
    return ComparePair(target, candidate);
  });
}

bool CAudioComparer::ComparePair(const AudioEntry& target, const AudioEntry& candidate) {
  if (IsPairCut(m_settings, m_ignores, target, candidate)) return true;

  float precise = kNoScore;
  float content = kNoScore;
  float tags = kNoScore;
  if (m_settings.mode & AudioSettings::kPrecise && !PreciseScore(target, candidate, &precise))
    return false;
  if (m_settings.mode & AudioSettings::kContent && target.spectrum && candidate.spectrum)
    content = ContentScore(*target.spectrum, *candidate.spectrum);
  if (m_settings.mode & AudioSettings::kTags && target.keys && candidate.keys)
    tags = TagScore(*target.keys, *candidate.keys);

  // A score that was not computed is below every threshold.
  if (tags >= m_settings.tags || content >= m_settings.content || precise >= m_settings.precise) {
    m_sink.LockedAdd({target.info,
                      candidate.info,
                      static_cast<uint8_t>(target.group),
                      static_cast<uint8_t>(candidate.group),
                      {tags, content, precise}});
  }
  return true;
}

bool CAudioComparer::PreciseScore(const AudioEntry& target, const AudioEntry& candidate,
                                  float* score) {
  if (target.correlogram && candidate.correlogram) {
    *score = std::clamp(ScoreCorrelogram(*target.correlogram, *candidate.correlogram), 0.0F, 1.0F);
    return true;
  }
  if (!target.bark || !candidate.bark) return true;
  if (!m_deviceScores.empty()) {
    const auto found = std::lower_bound(
        m_deviceScores.begin(), m_deviceScores.end(), candidate.ordinal,
        [](const DeviceScore& row, uint32_t ordinal) { return row.ordinal < ordinal; });
    if (found != m_deviceScores.end() && found->ordinal == candidate.ordinal) *score = found->score;
    return true;
  }
  if (target.bark->length < kBarkPattern || candidate.bark->length < kBarkPattern) return true;
  if (!m_targetReady) {
    if (!Precalculate(*target.bark, &m_target))
      return CSystemError::Bool("CompareFile", 534, false);
    m_targetReady = true;
  }
  if (!Precalculate(*candidate.bark, &m_candidate))
    return CSystemError::Bool("CompareFile", 535, false);
  *score = std::clamp(ScoreBarks(m_target, m_candidate), 0.0F, 1.0F);
  return true;
}

float ContentScore(const SpectrumPrint& target, const SpectrumPrint& candidate) {
  if (target.spectrum.size() != kSpectrumSize || candidate.spectrum.size() != kSpectrumSize)
    return kNoScore;
  // Lengths differ only in prints from a damaged cache file.
  const auto pearson = [](const CFloatVector& x, const CFloatVector& y) {
    const size_t n = std::min(x.size(), y.size());
    return n == 0 ? 0 : CorrelatePearson(x.data(), y.data(), static_cast<int32_t>(n));
  };
  const float a = pearson(target.spectrum, candidate.spectrum);
  const float b = pearson(target.skeleton, candidate.skeleton);
  const float c = pearson(target.deflection, candidate.deflection);
  return std::sqrt(0.6F * a * a + 0.2F * b * b + 0.2F * c * c);
}

}  // namespace quill
