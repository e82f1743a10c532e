// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/pending_work.h"

#include <algorithm>
#include <new>
#include <utility>

#include "core/system_error.h"
#include "storage/little_endian.h"

namespace quill {

namespace {

constexpr size_t kMagicLength = 32;
constexpr char kMagic[kMagicLength] = "QuillmarshWorks/1.9.0";

constexpr size_t kLongestString = 65535;  // bytes

enum RecordType : uint8_t {
  kFolder = 1,
  kAnalysisFolder = 2,
  kFile = 3,
  kAnalysisFile = 4,
  kAudioState = 5,
  kImageState = 6,
};

// The pool's numbering of requests.
enum RequestKind : uint32_t {
  kFolderRequest = 0,
  kFileRequest = 1,
  kAnalysisFolderRequest = 2,
  kAnalysisFileRequest = 3,
};

}  // namespace

bool CPendingWorkStore::Open(const std::string& path) {
  CSyncLock lock(m_sync);
  if (!m_map.Open(path, false)) return false;
  return m_map.Size() >= kReserved || m_map.SetEnd(kReserved);
}

bool CPendingWorkStore::Write(uint32_t offset, const uint8_t* data, uint32_t length) {
  if (length == 0) return true;
  if (data == nullptr) return CSystemError::Bool("Write", 80, false);
  CSyncLock lock(m_sync);
  uint8_t* const target =
      offset <= UINT32_MAX - kReserved ? m_map.Map(offset + kReserved, length) : nullptr;
  if (target == nullptr) return CSystemError::Bool("Write", 85, false);
  std::memcpy(target, data, length);
  return true;
}

bool CPendingWorkStore::Read(uint32_t offset, uint8_t* buffer, uint32_t length, uint32_t* got) {
  if (buffer == nullptr && length != 0) return CSystemError::Bool("Read", 57, false);
  CSyncLock lock(m_sync);
  const uint32_t size = m_map.Size();
  const uint32_t end = size > kReserved ? size - kReserved : 0;
  const uint32_t available = offset < end ? std::min(length, end - offset) : 0;
  if (got == nullptr && available < length) return CSystemError::Bool("Read", 63, false);
  if (available != 0) {
    const uint8_t* const source = m_map.Map(offset + kReserved, available);
    if (source == nullptr) return CSystemError::Bool("Read", 69, false);
    std::memcpy(buffer, source, available);
  }
  if (got != nullptr) *got = available;
  return true;
}

bool CPendingWorkStore::SetEnd(uint32_t length) {
  CSyncLock lock(m_sync);
  return m_map.SetEnd(std::min(length, UINT32_MAX - kReserved) + kReserved);
}

CSerializer::CSerializer(CPendingWorkStore& store, CPendingWorkPool& pool, CPendingWorkState* audio,
                         CPendingWorkState* image)
    : m_store(store),
      m_pool(pool),
      m_audio(audio),
      m_image(image),
      m_buffer(new(std::nothrow) uint8_t[kBuffer]) {}

bool CSerializer::InnerProcess() {
  if (!Rewind()) return CSystemError::Bool("InnerProcess", 69, false);
  m_pool.Shutdown(this);
  if (m_audio != nullptr && !m_audio->SerializeState(*this))
    return CSystemError::Bool("InnerProcess", 76, false);
  if (m_image != nullptr && !m_image->SerializeState(*this))
    return CSystemError::Bool("InnerProcess", 77, false);
  CSyncLock lock(m_sync);
  return Flush();
}

bool CSerializer::Rewind() {
  CSyncLock lock(m_sync);
  if (m_buffer == nullptr) return false;
  m_cursor = 0;
  m_streamOffset = 0;
  m_failed = !m_store.SetEnd(0);
  Put(kMagic, kMagicLength);
  return true;
}

bool CSerializer::WriteFolder(std::string_view path, uint8_t group, uint8_t carriedFlag) {
  return WriteRecord(kFolder, path, {group, carriedFlag});
}

bool CSerializer::WriteAnalysisFolder(std::string_view path, uint8_t carriedFlag) {
  return WriteRecord(kAnalysisFolder, path, {carriedFlag});
}

bool CSerializer::WriteFile(std::string_view path, uint8_t group) {
  return WriteRecord(kFile, path, {group});
}

bool CSerializer::WriteAnalysisFile(std::string_view path) {
  return WriteRecord(kAnalysisFile, path, {});
}

bool CSerializer::WriteAudioState(std::string_view path, uint8_t group) {
  return WriteRecord(kAudioState, path, {group});
}

bool CSerializer::WriteImageState(std::string_view path, uint8_t group) {
  return WriteRecord(kImageState, path, {group});
}

bool CSerializer::WriteRecord(uint8_t type, std::string_view path,
                              std::initializer_list<uint8_t> flags) {
  CSyncLock lock(m_sync);
  Put(&type, sizeof(type));
  if (path.size() <= kLongestString) {
    const uint16_t length = static_cast<uint16_t>(path.size());
    Put(&length, sizeof(length));
    Put(path.data(), path.size());
  }
  return Put(flags.begin(), flags.size());
}

bool CSerializer::Put(const void* bytes, size_t length) {
  const uint8_t* source = static_cast<const uint8_t*>(bytes);
  while (length != 0 && !m_failed) {
    const size_t part = std::min<size_t>(length, kBuffer - m_cursor);
    std::memcpy(m_buffer.get() + m_cursor, source, part);
    m_cursor += static_cast<uint32_t>(part);
    source += part;
    length -= part;
    if (m_cursor == kBuffer) Flush();
  }
  return !m_failed;
}

bool CSerializer::Flush() {
  if (!m_failed && !m_store.Write(m_streamOffset, m_buffer.get(), m_cursor))
    m_failed = !CSystemError::Bool("Flush", 57, false);
  m_streamOffset += m_cursor;
  m_cursor = 0;
  return !m_failed;
}

CSerializerReader::CSerializerReader(CPendingWorkStore& store, CPendingWorkQueue& queue,
                                     CPendingWorkState* audio, CPendingWorkState* image)
    : m_store(store),
      m_queue(queue),
      m_audio(audio),
      m_image(image),
      m_buffer(new(std::nothrow) uint8_t[kBuffer]) {}

bool CSerializerReader::InnerProcess() {
  if (m_buffer == nullptr) return CSystemError::Bool("InnerProcess", 212, false);
  m_cursor = 0;
  m_end = 0;
  m_streamOffset = 0;
  char magic[kMagicLength];
  if (!Get(magic, kMagicLength) || std::memcmp(magic, kMagic, kMagicLength) != 0) return true;

  // The pool sees nothing before the stream has ended: a request must not meet half the marks.
  std::list<Request> requests;
  uint8_t type = 0;
  while (Get(&type, sizeof(type)) && ReadRecord(type, requests)) {
  }
  for (Request& request : requests)
    m_queue.Requeue(request.kind, std::move(request.path), request.firstFlag, request.secondFlag);
  return true;
}

bool CSerializerReader::ReadRecord(uint8_t type, std::list<Request>& requests) {
  Request request;
  if (type < kFolder || type > kImageState || !GetString(&request.path)) return false;
  if (type != kAnalysisFile && !Get(&request.firstFlag, sizeof(request.firstFlag))) return false;
  switch (type) {
    case kFolder:
      request.kind = kFolderRequest;
      if (!Get(&request.secondFlag, sizeof(request.secondFlag))) return false;
      break;
    case kAnalysisFolder:
      request.kind = kAnalysisFolderRequest;
      break;
    case kFile:
      request.kind = kFileRequest;
      break;
    case kAnalysisFile:
      request.kind = kAnalysisFileRequest;
      break;
    case kAudioState:
      if (m_audio != nullptr) m_audio->RestoreState(request.path, request.firstFlag);
      return true;
    case kImageState:
      if (m_image != nullptr) m_image->RestoreState(request.path, request.firstFlag);
      return true;
  }
  requests.push_back(std::move(request));
  return true;
}

bool CSerializerReader::Get(void* bytes, size_t length) {
  uint8_t* target = static_cast<uint8_t*>(bytes);
  while (length != 0) {
    if (m_cursor == m_end && !Reload()) return false;
    const size_t part = std::min<size_t>(length, m_end - m_cursor);
    std::memcpy(target, m_buffer.get() + m_cursor, part);
    m_cursor += static_cast<uint32_t>(part);
    target += part;
    length -= part;
  }
  return true;
}

bool CSerializerReader::GetString(std::string* text) {
  uint16_t length = 0;
  if (!Get(&length, sizeof(length))) return false;
  text->resize(length);
  return Get(text->data(), length);
}

bool CSerializerReader::Reload() {
  m_cursor = 0;
  m_end = 0;
  if (!m_store.Read(m_streamOffset, m_buffer.get(), kBuffer, &m_end))
    return CSystemError::Bool("Reload", 197, false);
  m_streamOffset += m_end;
  return m_end != 0;
}

}  // namespace quill
