// SPDX-License-Identifier: GPL-3.0-or-later
// Small pictures for an exported page: the decoder program reads the file, so whatever a scan finds
// can be shown and no codec meets the file in this process. As stored, not turned by metadata. A
// link, and with it a decoder process, of its own. Made and used on one thread; the decoder table
// must outlive it.
#pragma once

#include <string>

#include "decoding/process_link.h"
#include "results/thumbnail_source.h"

namespace quill {

class CDecodedThumbnails : public CThumbnailSource {
 public:
  explicit CDecodedThumbnails(CDecoderTable& table) : m_link(table) {}

  // A JPEG; a PNG when part of the picture is transparent.
  [[nodiscard]] std::string DataUri(const std::string& path) override;

 private:
  CProcessLink m_link;
};

}  // namespace quill
