// SPDX-License-Identifier: GPL-3.0-or-later
// The user's choice of back-ends, as the application sends it at the start. FFmpeg stands behind
// every row; a row is a set of its demuxers. The specialised rows have only those of their own
// format, the general one has all that ProbeSound knows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "decoding/wire.h"

namespace quill::decoder {

class CDecoderRows {
 public:
  CDecoderRows() = default;
  explicit CDecoderRows(std::vector<wire::DecoderRow> rows) : m_rows(std::move(rows)) {}

  // Whether a file of this name may be opened by this demuxer: the rows are tried in order, those
  // that are enabled and hold the name's extension or "*", until one has the demuxer.
  [[nodiscard]] bool Allow(const std::string& path, std::string_view demuxer) const;

 private:
  std::vector<wire::DecoderRow> m_rows;
};

}  // namespace quill::decoder
