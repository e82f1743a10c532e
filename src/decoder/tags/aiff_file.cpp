// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/tags/aiff_file.h"

namespace quill::decoder {

bool CAiffFile::VisitChunks(TagFact fact, const DoubleGoes& goes) {
  const char* name = fact == TagFact::kTitle     ? "NAME"
                     : fact == TagFact::kArtist  ? "AUTH"
                     : fact == TagFact::kComment ? "ANNO"
                                                 : nullptr;
  if (name == nullptr) return false;
  bool went = false;
  for (unsigned int i = chunkCount(); i-- > 0;) {
    if (chunkName(i) != name) continue;
    const TagLib::ByteVector data = chunkData(i);
    const std::string text(data.data(), data.size());
    if (!goes(text.substr(0, text.find('\0')))) continue;
    removeChunk(i);
    went = true;
  }
  return went;
}

}  // namespace quill::decoder
