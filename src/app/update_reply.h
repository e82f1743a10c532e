// SPDX-License-Identifier: GPL-3.0-or-later
// What the update server says, and whether that is newer than this program. Pure functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quill {

struct ProgramVersion {
  uint16_t major = 0, minor = 0, release = 0, build = 0;
};

// Of this program.
[[nodiscard]] ProgramVersion OwnVersion();
// "1.9.2.1940"
[[nodiscard]] std::string VersionText(const ProgramVersion& version);

// Reads "Quillmarsh:", up to four numbers with points between them, any text without a colon, and
// ":OK". Missing numbers count as 0. Null or no bytes: a report and false.
[[nodiscard]] bool ParseUpdateData(const char* bytes, size_t length, uint16_t* major,
                                   uint16_t* minor, uint16_t* release, uint16_t* build);
[[nodiscard]] bool IsNewer(const ProgramVersion& offered, const ProgramVersion& own);

}  // namespace quill
