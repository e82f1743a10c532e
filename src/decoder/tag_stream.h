// The bytes of one file as the tag library sees them. The library does not look whether its writes
// succeed; this stream remembers that one has failed, so that a full disk ends in a status and not
// in a damaged file. The descriptor is the caller's.
#pragma once

#include <tiostream.h>

#include <string>

namespace quill::decoder {

class CTagStream : public TagLib::IOStream {
 public:
  CTagStream(int descriptor, bool readOnly) : m_descriptor(descriptor), m_readOnly(readOnly) {}

  [[nodiscard]] bool HasFailed() const { return m_failed; }

  [[nodiscard]] TagLib::FileName name() const override { return ""; }
  TagLib::ByteVector readBlock(unsigned long length) override;
  void writeBlock(const TagLib::ByteVector& data) override;
  void insert(const TagLib::ByteVector& data, unsigned long start, unsigned long replace) override;
  void removeBlock(unsigned long start, unsigned long length) override;
  [[nodiscard]] bool readOnly() const override { return m_readOnly; }
  [[nodiscard]] bool isOpen() const override { return true; }
  void seek(long offset, Position origin) override;
  [[nodiscard]] long tell() const override { return m_position; }
  long length() override;
  void truncate(long length) override;

 private:
  [[nodiscard]] size_t ReadAt(long offset, char* buffer, size_t length);
  void WriteAt(long offset, const char* bytes, size_t length);
  // Moves the bytes from `from` to the end so that they begin at `to`.
  void MoveTail(long from, long to);

  const int m_descriptor;
  const bool m_readOnly;
  long m_position = 0;
  bool m_failed = false;
};

}  // namespace quill::decoder
