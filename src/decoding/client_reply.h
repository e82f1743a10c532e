// SPDX-License-Identifier: GPL-3.0-or-later
// What the clients of a process link share: their result codes, and the common way of a command
// without arguments.
//
// Results: 0 success; -1 a bad argument, a link that is not open or a mapping that does not hold
// the data (reported; the latter costs the child); -3 a failure of the link (reported); any other
// value is the decoder's own status for this file, passed on with no report.
#pragma once

#include <cstdint>

#include "core/system_error.h"
#include "decoding/process_link.h"

namespace quill {

inline constexpr int32_t kDecodeOk = 0;
inline constexpr int32_t kDecodeBadArgument = -1;
inline constexpr int32_t kDecodeLinkFailed = -3;

inline int32_t LinkFailed(const char* name, int32_t line) {
  return CSystemError::Integer(name, line, kDecodeLinkFailed);
}

inline int32_t BadArgument(const char* name, int32_t line) {
  return CSystemError::Integer(name, line, kDecodeBadArgument);
}

// Sends a command that has no arguments and reads the status of its reply.
[[nodiscard]] inline bool AskDecoder(CProcessLink& link, uint32_t command, uint32_t* status) {
  return link.WriteCmd(command) && link.ReadReply(command, status);
}

// The answer to a reply that speaks of data which the mapping does not hold.
inline int32_t NotInMapping(CProcessLink& link, int32_t mappingLine, int32_t line) {
  CSystemError::Plain("Mapping", mappingLine);
  link.Reject("Decoder process gave less data than it tells");
  return BadArgument("GetData", line);
}

}  // namespace quill
