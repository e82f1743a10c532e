// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/tags/trailing_ape_tag.h"

#include <apefooter.h>

namespace quill::decoder {

namespace {

constexpr TagOffset kShortTag = 128;

// Works on the library's files and on the streams below them. -1 for none.
template <class Bytes>
TagOffset FindFooter(Bytes* bytes, TagLength* completeSize) {
  TagOffset end = bytes->length();
  bytes->seek(end - kShortTag, Bytes::Beginning);
  if (end >= kShortTag && bytes->readBlock(3) == "TAG") end -= kShortTag;
  const TagOffset footer = end - static_cast<TagOffset>(TagLib::APE::Footer::size());
  if (footer < 0) return -1;
  bytes->seek(footer, Bytes::Beginning);
  const TagLib::ByteVector data = bytes->readBlock(TagLib::APE::Footer::size());
  if (!data.startsWith(TagLib::APE::Footer::fileIdentifier())) return -1;
  *completeSize = TagLib::APE::Footer(data).completeTagSize();
  return *completeSize <= static_cast<TagLength>(end) ? footer : -1;
}

}  // namespace

std::unique_ptr<TagLib::APE::Tag> ReadTrailingApeTag(TagLib::File* file) {
  TagLength size = 0;
  const TagOffset footer = FindFooter(file, &size);
  return footer < 0 ? nullptr : std::make_unique<TagLib::APE::Tag>(file, footer);
}

void WriteTrailingApeTag(const TagLib::APE::Tag& tag, CTagStream& stream) {
  TagLength size = 0;
  const TagOffset footer = FindFooter(&stream, &size);
  if (footer < 0) return;
  const TagOffset end = footer + static_cast<TagOffset>(TagLib::APE::Footer::size());
  const auto start = static_cast<TagStart>(end - static_cast<TagOffset>(size));
  if (tag.isEmpty())
    stream.removeBlock(start, size);
  else
    stream.insert(tag.render(), start, size);
}

}  // namespace quill::decoder
