// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/results_journal.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <utility>

#include "core/system_error.h"
#include "storage/little_endian.h"

namespace quill {

namespace {

constexpr uint32_t kMagicLength = 32;
constexpr char kMagic[kMagicLength] = "QuillmarshResults/1.9.0";
constexpr char kOlderMagic[kMagicLength] = "QuillmarshResults/1.8.0";

constexpr size_t kLongestString = 65535;  // bytes
constexpr float kNoScore = -1.0f;

enum RecordType : uint8_t {
  kEnd = 0,
  kAudioItem = 1,
  kAudioPair = 2,
  kImageItem = 3,
  kOlderImagePair = 4,     // read only
  kOlderAnalysisItem = 5,  // read only
  kImagePair = 12,
  kAnalysisItem = 13,
  kAudioPairRemoved = 101,
  kImagePairRemoved = 102,
  kAnalysisItemRemoved = 103,
  kAudioItemChanged = 111,
  kImageItemChanged = 112,
  kAnalysisItemChanged = 113,
};

}  // namespace

CResultsJournal::CResultsJournal(CAudioResultsTable* audio, CImageResultsTable* image,
                                 CAnalysisResultsTable* analysis)
    : m_audio(audio), m_image(image), m_analysis(analysis) {}

CResultsJournal::~CResultsJournal() {
  if (m_writable && m_position > kMagicLength) {
    // A refusal is reported; the file then ends where its content does.
    [[maybe_unused]] const bool cut = m_map.SetEnd(m_position);
  }
}

bool CResultsJournal::OpenForWriting(const std::string& path) {
  m_position = 0;
  m_complete = true;
  m_writable = m_map.Open(path, false);
  if (!m_writable) return CSystemError::Bool("Open", 445, false);
  if (m_map.Size() >= kMagicLength && m_map.Map(0, kMagicLength) == nullptr) {
    // Not known to be foreign, so not to be wiped.
    m_map.Close();
    m_writable = false;
    return CSystemError::Bool("Open", 445, false);
  }
  if (!ReadMagic()) Reset();
  return true;
}

bool CResultsJournal::OpenForReading(const std::string& path) {
  m_position = 0;
  m_writable = false;
  if (!m_map.Open(path, true)) return CSystemError::Bool("Open", 36, false);
  return true;
}

bool CResultsJournal::ReadMagic() {
  m_position = 0;
  const uint8_t* const magic = ReadBytes(kMagicLength);
  return magic != nullptr && (std::memcmp(magic, kMagic, kMagicLength) == 0 ||
                              std::memcmp(magic, kOlderMagic, kMagicLength) == 0);
}

void CResultsJournal::Reset() {
  m_position = 0;
  m_complete = m_map.SetEnd(0);
  AppendBytes(kMagic, kMagicLength);
  StoreEndMarker();
}

bool CResultsJournal::IsResultsFile(const std::string& path) {
  CResultsJournal journal(nullptr, nullptr, nullptr);
  return journal.OpenForReading(path) && journal.Load();
}

bool CResultsJournal::MayReplace(const std::string& path) {
  std::error_code fault;
  const bool free =
      std::filesystem::status(path, fault).type() == std::filesystem::file_type::not_found;
  return free || IsResultsFile(path);
}

bool CResultsJournal::Load() {
  if (!m_map.IsOpen()) return CSystemError::Bool("Load", 45, false);
  if (m_writable && m_position != kMagicLength) return CSystemError::Bool("Load", 474, false);
  if (!ReadMagic()) return CSystemError::Bool("Load", 51, false);
  for (;;) {
    const uint32_t start = m_position;
    uint8_t type = kEnd;
    if (!Read(type)) break;
    if (!LoadRecord(type)) {
      // The next append must begin where a later load looks for it.
      m_position = start;
      break;
    }
  }
  if (m_image != nullptr) m_image->RebuildRows();
  if (m_audio != nullptr) m_audio->RebuildRows();
  if (m_analysis != nullptr) m_analysis->RebuildRows();
  return true;
}

bool CResultsJournal::LoadRecord(uint8_t type) {
  switch (type) {
    case kAudioItem: {
      AudioItemRecord item;
      if (!Read(item.path, item.artist, item.title, item.album, item.size, item.durationMs,
                item.bitrate, item.format, item.group))
        return false;
      if (m_audio != nullptr) m_audio->BulkAdd(item);
      return true;
    }
    case kAudioPair: {
      std::string first, second;
      float tags, content, precise;
      if (!Read(first, second, tags, content, precise)) return false;
      if (m_audio != nullptr) m_audio->BulkAdd(first, second, tags, content, precise);
      return true;
    }
    case kImageItem: {
      ImageItemRecord item;
      if (!Read(item.path, item.size, item.width, item.height, item.format, item.bits, item.group))
        return false;
      if (m_image != nullptr) m_image->BulkAdd(item);
      return true;
    }
    case kImagePair:
    case kOlderImagePair: {
      std::string first, second;
      float content, experimental = kNoScore;
      if (!Read(first, second, content)) return false;
      if (type == kImagePair && !Read(experimental)) return false;
      if (m_image != nullptr) m_image->BulkAdd(first, second, content, experimental);
      return true;
    }
    case kAnalysisItem:
    case kOlderAnalysisItem: {
      AnalysisItemRecord item;
      if (!Read(item.path)) return false;
      if (type == kAnalysisItem && !Read(item.artist, item.album, item.title)) return false;
      if (!Read(item.size, item.durationMs, item.bitrate, item.sampleRate, item.dataFormat,
                item.channels, item.format, item.measures, item.averageSpectrum, item.peakSpectrum))
        return false;
      if (m_analysis != nullptr) m_analysis->BulkAdd(item);
      return true;
    }
    case kAudioPairRemoved: {
      std::string first, second;
      if (!Read(first, second)) return false;
      if (m_audio != nullptr) m_audio->BulkRemove(first, second);
      return true;
    }
    case kImagePairRemoved: {
      std::string first, second;
      if (!Read(first, second)) return false;
      if (m_image != nullptr) m_image->BulkRemove(first, second);
      return true;
    }
    case kAnalysisItemRemoved: {
      std::string path;
      if (!Read(path)) return false;
      if (m_analysis != nullptr) m_analysis->BulkRemove(path);
      return true;
    }
    case kAudioItemChanged: {
      std::string oldPath, newPath, artist, album, title;
      if (!Read(oldPath, newPath, artist, album, title)) return false;
      if (m_audio != nullptr) m_audio->BulkChange(oldPath, newPath, artist, album, title);
      return true;
    }
    case kImageItemChanged: {
      std::string oldPath, newPath;
      if (!Read(oldPath, newPath)) return false;
      if (m_image != nullptr) m_image->BulkChange(oldPath, newPath);
      return true;
    }
    case kAnalysisItemChanged: {
      std::string oldPath, newPath, artist, album, title;
      if (!Read(oldPath, newPath, artist, album, title)) return false;
      if (m_analysis != nullptr) m_analysis->BulkChange(oldPath, newPath, artist, album, title);
      return true;
    }
    default:
      return false;
  }
}

template <class... Field>
bool CResultsJournal::Read(Field&... fields) {
  return (ReadField(fields) && ...);
}

bool CResultsJournal::ReadField(std::string& text) {
  uint16_t length = 0;
  if (!ReadField(length)) return false;
  const uint8_t* const bytes = ReadBytes(length);
  if (bytes == nullptr) return false;
  text.assign(reinterpret_cast<const char*>(bytes), length);
  return true;
}

template <class Field>
  requires std::is_trivially_copyable_v<Field>
bool CResultsJournal::ReadField(Field& field) {
  const uint8_t* const bytes = ReadBytes(sizeof(Field));
  if (bytes == nullptr) return false;
  std::memcpy(&field, bytes, sizeof(Field));
  return true;
}

const uint8_t* CResultsJournal::ReadBytes(uint32_t length) {
  // In a writable file a Map past the end would grow it.
  if (uint64_t{m_position} + length > m_map.Size()) return nullptr;
  const uint8_t* const bytes = m_map.Map(m_position, length);
  if (bytes != nullptr) m_position += length;
  return bytes;
}

bool CResultsJournal::Rebuild() {
  if (!m_writable) return CSystemError::Bool("Rebuild", 459, false);
  Reset();
  if (m_audio != nullptr && !m_audio->WriteResults(*this))
    return CSystemError::Bool("Rebuild", 463, false);
  if (m_image != nullptr && !m_image->WriteResults(*this))
    return CSystemError::Bool("Rebuild", 464, false);
  if (m_analysis != nullptr && !m_analysis->WriteResults(*this))
    return CSystemError::Bool("Rebuild", 465, false);
  return m_complete;
}

void CResultsJournal::AddAudioItem(const AudioItemRecord& item) {
  Append(kAudioItem, item.path, item.artist, item.title, item.album, item.size, item.durationMs,
         item.bitrate, item.format, item.group);
}

void CResultsJournal::AddAudioPair(std::string_view first, std::string_view second, float tags,
                                   float content, float precise) {
  Append(kAudioPair, first, second, tags, content, precise);
}

void CResultsJournal::AddImageItem(const ImageItemRecord& item) {
  Append(kImageItem, item.path, item.size, item.width, item.height, item.format, item.bits,
         item.group);
}

void CResultsJournal::AddImagePair(std::string_view first, std::string_view second, float content,
                                   float experimental) {
  Append(kImagePair, first, second, content, experimental);
}

void CResultsJournal::AddAnalysisItem(const AnalysisItemRecord& item) {
  Append(kAnalysisItem, item.path, item.artist, item.album, item.title, item.size, item.durationMs,
         item.bitrate, item.sampleRate, item.dataFormat, item.channels, item.format, item.measures,
         item.averageSpectrum, item.peakSpectrum);
}

void CResultsJournal::RemoveAudioPair(std::string_view first, std::string_view second) {
  Append(kAudioPairRemoved, first, second);
}

void CResultsJournal::RemoveImagePair(std::string_view first, std::string_view second) {
  Append(kImagePairRemoved, first, second);
}

void CResultsJournal::RemoveAnalysisItem(std::string_view path) {
  Append(kAnalysisItemRemoved, path);
}

void CResultsJournal::ChangeAudioItem(std::string_view oldPath, std::string_view newPath,
                                      std::string_view artist, std::string_view album,
                                      std::string_view title) {
  Append(kAudioItemChanged, oldPath, newPath, artist, album, title);
}

void CResultsJournal::ChangeImageItem(std::string_view oldPath, std::string_view newPath) {
  Append(kImageItemChanged, oldPath, newPath);
}

void CResultsJournal::ChangeAnalysisItem(std::string_view oldPath, std::string_view newPath,
                                         std::string_view artist, std::string_view album,
                                         std::string_view title) {
  Append(kAnalysisItemChanged, oldPath, newPath, artist, album, title);
}

template <class... Field>
void CResultsJournal::Append(uint8_t type, const Field&... fields) {
  // A kill may come at any moment: the type, which makes a record of the bytes behind it, is stored
  // when all of them are there.
  const uint32_t start = m_position;
  AppendField(kEnd);
  (AppendField(fields), ...);
  StoreEndMarker();
  const uint32_t end = std::exchange(m_position, start);
  std::atomic_signal_fence(std::memory_order_release);
  AppendField(type);
  m_position = end;
}

void CResultsJournal::AppendField(std::string_view text) {
  if (text.size() > kLongestString) return;
  AppendField(static_cast<uint16_t>(text.size()));
  AppendBytes(text.data(), static_cast<uint32_t>(text.size()));
}

template <class Field>
  requires std::is_trivially_copyable_v<Field>
void CResultsJournal::AppendField(const Field& field) {
  AppendBytes(&field, sizeof(Field));
}

void CResultsJournal::AppendBytes(const void* bytes, uint32_t length) {
  if (!m_writable || length == 0) return;
  uint8_t* const target = m_map.Map(m_position, length);
  if (target != nullptr)
    std::memcpy(target, bytes, length);
  else
    m_complete = false;
  m_position = static_cast<uint32_t>(std::min<uint64_t>(uint64_t{m_position} + length, UINT32_MAX));
}

void CResultsJournal::StoreEndMarker() {
  const uint32_t position = m_position;
  AppendField(kEnd);
  m_position = position;
}

}  // namespace quill
