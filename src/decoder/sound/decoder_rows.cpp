// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/decoder_rows.h"

#include <strings.h>

#include <algorithm>
#include <cstring>

namespace quill::decoder {

namespace {

std::string Extension(const std::string& path) {
  const size_t name = path.rfind('/') + 1;  // npos + 1 is 0
  const size_t point = path.rfind('.');
  return point == std::string::npos || point < name ? std::string() : path.substr(point + 1);
}

bool TakesExtension(const wire::DecoderRow& row, const std::string& extension) {
  std::string_view rest(row.extensions, strnlen(row.extensions, sizeof row.extensions));
  while (!rest.empty()) {
    const std::string_view entry = rest.substr(0, rest.find(' '));
    if (entry == "*") return true;
    if (!entry.empty() && entry.size() == extension.size() &&
        strncasecmp(entry.data(), extension.data(), entry.size()) == 0)
      return true;
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
  }
  return false;
}

bool TakesDemuxer(uint32_t decoderId, std::string_view demuxer) {
  switch (decoderId) {
    case wire::kDecoderFlac:
      return demuxer == "flac";
    case wire::kDecoderOggVorbis:
      return demuxer == "ogg";
    case wire::kDecoderMonkeyAudio:
      return demuxer == "ape";
    case wire::kDecoderWavPack:
      return demuxer == "wv";
    case wire::kDecoderMusepack:
      return demuxer == "mpc" || demuxer == "mpc8";
    case wire::kDecoderGeneral:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool CDecoderRows::Allow(const std::string& path, std::string_view demuxer) const {
  const std::string extension = Extension(path);
  return std::any_of(m_rows.begin(), m_rows.end(), [&](const wire::DecoderRow& row) {
    return row.enabled == 1 && TakesExtension(row, extension) && TakesDemuxer(row.id, demuxer);
  });
}

}  // namespace quill::decoder
