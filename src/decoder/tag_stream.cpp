#include "decoder/tag_stream.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace quill::decoder {

namespace {

constexpr long kPiece = 1 << 20;

}  // namespace

size_t CTagStream::ReadAt(long offset, char* buffer, size_t length) {
  size_t done = 0;
  while (done < length) {
    const ssize_t got =
        pread(m_descriptor, buffer + done, length - done, offset + static_cast<long>(done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) m_failed = true;
    if (got <= 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

void CTagStream::WriteAt(long offset, const char* bytes, size_t length) {
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

TagLib::ByteVector CTagStream::readBlock(unsigned long length) {
  // Sizes come from fields of the file: never more than it holds.
  const auto rest = static_cast<unsigned long>(std::max(0L, this->length() - m_position));
  TagLib::ByteVector data(static_cast<unsigned int>(std::min(length, rest)));
  const size_t got = ReadAt(m_position, data.data(), data.size());
  data.resize(static_cast<unsigned int>(got));
  m_position += static_cast<long>(got);
  return data;
}

void CTagStream::writeBlock(const TagLib::ByteVector& data) {
  if (m_readOnly) return;
  WriteAt(m_position, data.data(), data.size());
  m_position += static_cast<long>(data.size());
}

void CTagStream::insert(const TagLib::ByteVector& data, unsigned long start,
                        unsigned long replace) {
  if (m_readOnly) return;
  const auto at = static_cast<long>(start);
  MoveTail(at + static_cast<long>(replace), at + static_cast<long>(data.size()));
  WriteAt(at, data.data(), data.size());
  m_position = at + static_cast<long>(data.size());
}

void CTagStream::removeBlock(unsigned long start, unsigned long length) {
  if (m_readOnly) return;
  MoveTail(static_cast<long>(start + length), static_cast<long>(start));
}

void CTagStream::MoveTail(long from, long to) {
  const long end = length();
  from = std::min(from, end);
  const long tail = end - from;
  if (from == to) return;
  std::vector<char> piece(static_cast<size_t>(std::min(tail, kPiece)));
  for (long done = 0; done < tail && !m_failed;) {
    const long size = std::min(tail - done, kPiece);
    // Away from the end first when the tail moves up, else from its start.
    const long at = to > from ? tail - done - size : done;
    if (ReadAt(from + at, piece.data(), static_cast<size_t>(size)) != static_cast<size_t>(size))
      m_failed = true;
    WriteAt(to + at, piece.data(), static_cast<size_t>(size));
    done += size;
  }
  if (to < from) truncate(to + tail);
}

void CTagStream::seek(long offset, Position origin) {
  if (origin == Current) offset += m_position;
  if (origin == End) offset += length();
  m_position = std::max(0L, offset);
}

long CTagStream::length() {
  struct stat status {};
  if (fstat(m_descriptor, &status) != 0) {
    m_failed = true;
    return 0;
  }
  return status.st_size;
}

void CTagStream::truncate(long length) {
  if (!m_readOnly && ftruncate(m_descriptor, length) != 0) m_failed = true;
}

}  // namespace quill::decoder
