// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/cache_store.h"

#include <vector>

#include "core/system_error.h"
#include "storage/little_endian.h"

namespace quill {

namespace {

constexpr size_t kMagicLength = 32;
constexpr char kMagic[kMagicLength] = "QuillmarshCache/1.9.0";

// A record's head: payload length in the low 24 bits, type in the high 8. A load takes the low 16
// bits of the length only; this is part of the format.
constexpr uint32_t kLengthWritten = 0xFFFFFF;
constexpr uint32_t kLengthRead = 0xFFFF;
constexpr uint32_t kTypeShift = 24;

bool KnownType(uint32_t type) {
  return type >= static_cast<uint32_t>(CacheRecordType::kAudio) &&
         type <= static_cast<uint32_t>(CacheRecordType::kAnalysis);
}

}  // namespace

void CCacheStore::SetClient(CacheRecordType type, CCacheClient* client) {
  m_clients[static_cast<uint32_t>(type) - 1] = client;
}

bool CCacheStore::Load(const std::string& path) {
  CSyncLock lock(m_sync);
  if (!m_file.Open(path, CFile::kReadWrite)) return false;

  char magic[kMagicLength];
  if (!m_file.Read(magic, kMagicLength) || std::memcmp(magic, kMagic, kMagicLength) != 0) {
    if (!m_file.Seek(0) || !m_file.Write(kMagic, kMagicLength) || !m_file.Truncate(kMagicLength)) {
      // Records behind a broken magic would be thrown away at the next start.
      m_file.Close();
      return false;
    }
  }

  uint64_t goodEnd = kMagicLength;
  std::vector<uint8_t> payload(kLengthRead);
  uint8_t head[CCacheRecord::kHead];
  while (m_file.Read(head, sizeof(head))) {
    const uint32_t word = LoadNumber<uint32_t>(head);
    const uint32_t type = word >> kTypeShift;
    const uint32_t length = word & kLengthRead;
    if (!KnownType(type) || !m_file.Read(payload.data(), length)) break;
    CCacheClient* const client = m_clients[type - 1];
    if (client != nullptr) client->LoadRecord(CCacheReader({payload.data(), length}));
    goodEnd += sizeof(head) + length;
  }
  if (!m_file.Seek(goodEnd)) {
    m_file.Close();
    return false;
  }
  return true;
}

bool CCacheStore::AddCache(CCacheRecord& record) {
  const uint32_t type = record.Type();
  std::vector<uint8_t>& bytes = record.Bytes();
  if (!KnownType(type)) return CSystemError::Bool("AddCache", 272, false);
  if (bytes.size() <= CCacheRecord::kHead) return CSystemError::Bool("AddCache", 275, false);
  const uint32_t length = static_cast<uint32_t>(bytes.size() - CCacheRecord::kHead);
  StoreNumber(bytes.data(), (length & kLengthWritten) | type << kTypeShift);
  {
    CSyncLock lock(m_sync);
    const uint64_t start = m_file.Position();
    if (!m_file.Write(bytes.data(), bytes.size())) {
      CSystemError::Bool("AddCache", 280, false);
      // A part may have been written: the next record goes over it.
      if (m_file.IsOpen() && !m_file.Seek(start)) m_file.Close();
      return false;
    }
  }
  bytes.resize(CCacheRecord::kHead);
  return true;
}

void CCacheStore::Clear() {
  CSyncLock lock(m_sync);
  if (m_file.IsOpen() && !m_file.Truncate(kMagicLength)) m_file.Close();
  for (CCacheClient* client : m_clients)
    if (client != nullptr) client->ClearRecords();
}

uint32_t CCacheStore::Count() const {
  uint32_t count = 0;
  for (const CCacheClient* client : m_clients)
    if (client != nullptr) count += client->RecordCount();
  return count;
}

uint64_t CCacheStore::FileSize() {
  CSyncLock lock(m_sync);
  return m_file.Position();
}

}  // namespace quill
