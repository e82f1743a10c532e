// SPDX-License-Identifier: GPL-3.0-or-later
// The client through which everything reads a picture file: four commands over a process link; the
// pixels are read in place from the mapping. Belongs to the thread of its link. Results are those
// of client_reply.h.
#pragma once

#include <cstdint>
#include <string>

#include "decoding/client_reply.h"
#include "decoding/process_link.h"
#include "decoding/wire.h"

namespace quill {

class CImageDecoder {
 public:
  // `link` must outlive the client.
  explicit CImageDecoder(CProcessLink& link) : m_link(link) {}

  // Starts the child if need be. `flags` is 0. An empty path is a bad argument.
  [[nodiscard]] int32_t Open(const std::string& path, uint32_t flags);
  // Clears the record first.
  [[nodiscard]] int32_t GetInfo(wire::ImageInfo* info);
  // The whole picture: `data->height` rows, `data->rowStep` bytes apart and each long enough for
  // its pixels, at `*pixels`; valid until the next command on the link. Both are cleared first.
  [[nodiscard]] int32_t GetData(const uint8_t** pixels, wire::ImageData* data);
  // Also gives a large mapping back.
  int32_t Close();

 private:
  CProcessLink& m_link;
};

// Bytes of a pixel: 4 with alpha, 3 without.
[[nodiscard]] inline int32_t ChannelCount(const wire::ImageData& data) {
  return data.flags & wire::kImageAlpha ? 4 : 3;
}

}  // namespace quill
