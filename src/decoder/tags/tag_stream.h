// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes of one file as the tag library sees them. The library does not look whether its writes
// succeed; this stream remembers that one has failed, so that a full disk ends in a status and not
// in a damaged file. The descriptor is the caller's.
#pragma once

#include <taglib.h>
#include <tiostream.h>

#include <cstddef>

namespace quill::decoder {

// What the library calls a place in a file and a number of bytes, which changed with its version 2.
#if TAGLIB_MAJOR_VERSION >= 2
using TagOffset = TagLib::offset_t;
using TagStart = TagLib::offset_t;
using TagLength = size_t;
#else
using TagOffset = long;
using TagStart = unsigned long;
using TagLength = unsigned long;
#endif

class CTagStream : public TagLib::IOStream {
 public:
  CTagStream(int descriptor, bool readOnly) : m_descriptor(descriptor), m_readOnly(readOnly) {}

  [[nodiscard]] bool HasFailed() const { return m_failed; }

  [[nodiscard]] TagLib::FileName name() const override { return ""; }
  TagLib::ByteVector readBlock(TagLength length) override;
  void writeBlock(const TagLib::ByteVector& data) override;
  void insert(const TagLib::ByteVector& data, TagStart start, TagLength replace) override;
  void removeBlock(TagStart start, TagLength length) override;
  [[nodiscard]] bool readOnly() const override { return m_readOnly; }
  [[nodiscard]] bool isOpen() const override { return true; }
  void seek(TagOffset offset, Position origin) override;
  [[nodiscard]] TagOffset tell() const override { return m_position; }
  TagOffset length() override;
  void truncate(TagOffset length) override;

 private:
  [[nodiscard]] size_t ReadAt(TagOffset offset, char* buffer, size_t length);
  void WriteAt(TagOffset offset, const char* bytes, size_t length);
  // Moves the bytes from `from` to the end so that they begin at `to`.
  void MoveTail(TagOffset from, TagOffset to);

  const int m_descriptor;
  const bool m_readOnly;
  TagOffset m_position = 0;
  bool m_failed = false;
};

}  // namespace quill::decoder
