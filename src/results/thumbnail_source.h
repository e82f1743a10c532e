// SPDX-License-Identifier: GPL-3.0-or-later
// Where an exported page gets its small pictures from. The results know nothing of decoding or of
// the encoding of pictures: the platform implements this.
#pragma once

#include <string>

namespace quill {

class CThumbnailSource {
 public:
  static constexpr int kEdge = 128;  // pixels of the longer side, at most

  virtual ~CThumbnailSource() = default;
  // A small copy of the picture as a "data:" URI of a few kilobytes; empty when the file cannot be
  // read as a picture. Called from one thread.
  [[nodiscard]] virtual std::string DataUri(const std::string& path) = 0;
};

}  // namespace quill
