// SPDX-License-Identifier: GPL-3.0-or-later
// Tags of single files, read and written by a decoder process of its own, so that a faulty file
// cannot hurt the application and the workers go on undisturbed. The process is started on the
// first use and serves until the object goes. Main thread.
//
// Results are those of client_reply.h; a status of the decoder means that this file cannot be read
// or written, or has no tags.
#pragma once

#include <cstdint>
#include <string>

#include "decoding/client_reply.h"
#include "decoding/decoder_table.h"
#include "decoding/process_link.h"

namespace quill {

class CTagAccess {
 public:
  // `table` must outlive the object; `program` as CProcessLink's.
  explicit CTagAccess(CDecoderTable& table, std::string program = {})
      : m_link(table, std::move(program)) {}

  // Any of the outputs may be null; on a failure all keep what they hold. `flags` is 0.
  [[nodiscard]] int32_t GetProperties(const std::string& path, uint32_t flags, std::string* title,
                                      std::string* artist, std::string* album, std::string* genre,
                                      std::string* comment, uint32_t* year, uint32_t* track);
  // Null leaves that field as it is; an empty text, or 0, clears it. With all seven null nothing
  // happens, successfully.
  [[nodiscard]] int32_t SetProperties(const std::string& path, uint32_t flags,
                                      const std::string* title, const std::string* artist,
                                      const std::string* album, const std::string* genre,
                                      const std::string* comment, const uint32_t* year,
                                      const uint32_t* track);

 private:
  CProcessLink m_link;
};

}  // namespace quill
