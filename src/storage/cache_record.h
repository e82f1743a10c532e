// SPDX-License-Identifier: GPL-3.0-or-later
// Reading and writing the fields of one cache record. Numbers are little-endian with no alignment.
// A string, a float vector and a byte vector begin with a 16-bit count; a writer refuses counts
// above 32767. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quill {

enum class CacheRecordType : uint32_t { kAudio = 1, kImage = 2, kAnalysis = 3 };

// A growing record with 4 bytes reserved at its start for the container's head.
class CCacheRecord {
 public:
  static constexpr size_t kHead = 4;
  static constexpr size_t kLongest = 32767;  // bytes of a string, elements of a vector

  explicit CCacheRecord(CacheRecordType type)
      : m_type(static_cast<uint32_t>(type)), m_bytes(kHead) {}

  void PutU8(uint8_t value);
  void PutU16(uint16_t value);
  void PutU32(uint32_t value);
  void PutU64(uint64_t value);
  void PutF32(float value);
  void PutBytes(const void* bytes, size_t length);  // with no count
  [[nodiscard]] bool PutString(std::string_view text);
  [[nodiscard]] bool PutFloats(std::span<const float> values);
  [[nodiscard]] bool PutByteVector(std::span<const uint8_t> values);

  // For the container (CCacheStore::AddCache).
  [[nodiscard]] uint32_t Type() const { return m_type; }
  [[nodiscard]] std::vector<uint8_t>& Bytes() { return m_bytes; }

 private:
  uint32_t m_type;
  std::vector<uint8_t> m_bytes;
};

// A bounded cursor over the payload of one record. A read past the end fails and leaves the output
// and the cursor as they were.
class CCacheReader {
 public:
  explicit CCacheReader(std::span<const uint8_t> payload) : m_rest(payload) {}

  [[nodiscard]] bool GetU8(uint8_t* value);
  [[nodiscard]] bool GetU16(uint16_t* value);
  [[nodiscard]] bool GetU32(uint32_t* value);
  [[nodiscard]] bool GetU64(uint64_t* value);
  [[nodiscard]] bool GetF32(float* value);
  [[nodiscard]] bool GetBytes(void* bytes, size_t length);  // with no count
  [[nodiscard]] bool GetString(std::string* text);
  [[nodiscard]] bool GetFloats(std::vector<float>* values);
  // A byte vector as a view into the payload, valid as long as the payload.
  [[nodiscard]] bool GetByteVector(std::span<const uint8_t>* values);

 private:
  // A 16-bit count and the bytes of that many elements behind it.
  [[nodiscard]] bool GetCounted(size_t elementSize, std::span<const uint8_t>* bytes);

  std::span<const uint8_t> m_rest;
};

}  // namespace quill
