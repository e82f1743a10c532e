// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/cache_record.h"

#include "storage/little_endian.h"

namespace quill {

void CCacheRecord::PutU8(uint8_t value) {
  m_bytes.push_back(value);
}
void CCacheRecord::PutU16(uint16_t value) {
  PutBytes(&value, sizeof(value));
}
void CCacheRecord::PutU32(uint32_t value) {
  PutBytes(&value, sizeof(value));
}
void CCacheRecord::PutU64(uint64_t value) {
  PutBytes(&value, sizeof(value));
}
void CCacheRecord::PutF32(float value) {
  PutBytes(&value, sizeof(value));
}

void CCacheRecord::PutBytes(const void* bytes, size_t length) {
  const uint8_t* const first = static_cast<const uint8_t*>(bytes);
  m_bytes.insert(m_bytes.end(), first, first + length);
}

bool CCacheRecord::PutString(std::string_view text) {
  if (text.size() > kLongest) return false;
  PutU16(static_cast<uint16_t>(text.size()));
  PutBytes(text.data(), text.size());
  return true;
}

bool CCacheRecord::PutFloats(std::span<const float> values) {
  if (values.size() > kLongest) return false;
  PutU16(static_cast<uint16_t>(values.size()));
  PutBytes(values.data(), values.size_bytes());
  return true;
}

bool CCacheRecord::PutByteVector(std::span<const uint8_t> values) {
  if (values.size() > kLongest) return false;
  PutU16(static_cast<uint16_t>(values.size()));
  PutBytes(values.data(), values.size());
  return true;
}

bool CCacheReader::GetU8(uint8_t* value) {
  return GetBytes(value, sizeof(*value));
}
bool CCacheReader::GetU16(uint16_t* value) {
  return GetBytes(value, sizeof(*value));
}
bool CCacheReader::GetU32(uint32_t* value) {
  return GetBytes(value, sizeof(*value));
}
bool CCacheReader::GetU64(uint64_t* value) {
  return GetBytes(value, sizeof(*value));
}
bool CCacheReader::GetF32(float* value) {
  return GetBytes(value, sizeof(*value));
}

bool CCacheReader::GetBytes(void* bytes, size_t length) {
  if (length > m_rest.size()) return false;
  if (length != 0) std::memcpy(bytes, m_rest.data(), length);
  m_rest = m_rest.subspan(length);
  return true;
}

bool CCacheReader::GetString(std::string* text) {
  std::span<const uint8_t> bytes;
  if (!GetCounted(1, &bytes)) return false;
  text->assign(bytes.begin(), bytes.end());
  return true;
}

bool CCacheReader::GetFloats(std::vector<float>* values) {
  std::span<const uint8_t> bytes;
  if (!GetCounted(sizeof(float), &bytes)) return false;
  values->resize(bytes.size() / sizeof(float));
  if (!bytes.empty()) std::memcpy(values->data(), bytes.data(), bytes.size());
  return true;
}

bool CCacheReader::GetByteVector(std::span<const uint8_t>* values) {
  return GetCounted(1, values);
}

bool CCacheReader::GetCounted(size_t elementSize, std::span<const uint8_t>* bytes) {
  if (m_rest.size() < sizeof(uint16_t)) return false;
  const size_t length = LoadNumber<uint16_t>(m_rest.data()) * elementSize;
  const std::span<const uint8_t> behind = m_rest.subspan(sizeof(uint16_t));
  if (length > behind.size()) return false;
  *bytes = behind.first(length);
  m_rest = behind.subspan(length);
  return true;
}

}  // namespace quill
