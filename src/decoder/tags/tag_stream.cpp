// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/tags/tag_stream.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace quill::decoder {

namespace {

constexpr TagOffset kPiece = 1 << 20;

}  // namespace

size_t CTagStream::ReadAt(TagOffset offset, char* buffer, size_t length) {
  size_t done = 0;
  while (done < length) {
    const ssize_t got =
        pread(m_descriptor, buffer + done, length - done, offset + static_cast<TagOffset>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) m_failed = true;
    if (got <= 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

void CTagStream::WriteAt(TagOffset offset, const char* bytes, size_t length) {
  while (length != 0 && !m_failed) {
    const ssize_t put = pwrite(m_descriptor, bytes, length, offset);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) {
      m_failed = true;
      return;
    }
    bytes += put;
    offset += put;
    length -= static_cast<size_t>(put);
  }
}

TagLib::ByteVector CTagStream::readBlock(TagLength length) {
  // Sizes come from fields of the file: never more than it holds.
  const auto rest = static_cast<TagLength>(std::max(TagOffset{0}, this->length() - m_position));
  TagLib::ByteVector data(static_cast<unsigned int>(std::min(length, rest)));
  const size_t got = ReadAt(m_position, data.data(), data.size());
  data.resize(static_cast<unsigned int>(got));
  m_position += static_cast<TagOffset>(got);
  return data;
}

void CTagStream::writeBlock(const TagLib::ByteVector& data) {
  if (m_readOnly) return;
  WriteAt(m_position, data.data(), data.size());
  m_position += static_cast<TagOffset>(data.size());
}

void CTagStream::insert(const TagLib::ByteVector& data, TagStart start, TagLength replace) {
  if (m_readOnly) return;
  const auto at = static_cast<TagOffset>(start);
  MoveTail(at + static_cast<TagOffset>(replace), at + static_cast<TagOffset>(data.size()));
  WriteAt(at, data.data(), data.size());
  m_position = at + static_cast<TagOffset>(data.size());
}

void CTagStream::removeBlock(TagStart start, TagLength length) {
  if (m_readOnly) return;
  MoveTail(static_cast<TagOffset>(start + length), static_cast<TagOffset>(start));
}

void CTagStream::MoveTail(TagOffset from, TagOffset to) {
  const TagOffset end = length();
  from = std::min(from, end);
  const TagOffset tail = end - from;
  if (from == to) return;
  std::vector<char> piece(static_cast<size_t>(std::min(tail, kPiece)));
  for (TagOffset done = 0; done < tail && !m_failed;) {
    const TagOffset size = std::min(tail - done, kPiece);
    // Away from the end first when the tail moves up, else from its start.
    const TagOffset at = to > from ? tail - done - size : done;
    if (ReadAt(from + at, piece.data(), static_cast<size_t>(size)) != static_cast<size_t>(size))
      m_failed = true;
    WriteAt(to + at, piece.data(), static_cast<size_t>(size));
    done += size;
  }
  if (to < from) truncate(to + tail);
}

void CTagStream::seek(TagOffset offset, Position origin) {
  if (origin == Current) offset += m_position;
  if (origin == End) offset += length();
  m_position = std::max(TagOffset{0}, offset);
}

TagOffset CTagStream::length() {
  struct stat status{};
  if (fstat(m_descriptor, &status) != 0) {
    m_failed = true;
    return 0;
  }
  return status.st_size;
}

void CTagStream::truncate(TagOffset length) {
  if (!m_readOnly && ftruncate(m_descriptor, length) != 0) m_failed = true;
}

}  // namespace quill::decoder
