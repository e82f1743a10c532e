// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/update_reply.h"

#include <string_view>
#include <tuple>

#include "core/system_error.h"

namespace quill {

namespace {

constexpr std::string_view kProduct = "Quillmarsh:";
constexpr std::string_view kEnd = ":OK";

// The number at the start of the text, behind blanks; the text then begins behind it. False without
// a digit.
bool ParseInt(std::string_view* text, uint16_t* number) {
  while (!text->empty() && (text->front() == ' ' || text->front() == '\t')) text->remove_prefix(1);
  uint32_t value = 0;
  bool digits = false;
  while (!text->empty() && text->front() >= '0' && text->front() <= '9') {
    value = value * 10 + static_cast<uint32_t>(text->front() - '0');
    digits = true;
    text->remove_prefix(1);
  }
  *number = static_cast<uint16_t>(value);
  return digits;
}

}  // namespace

ProgramVersion OwnVersion() {
  return {QUILLMARSH_VERSION_NUMBERS};
}

std::string VersionText(const ProgramVersion& version) {
  return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
         std::to_string(version.release) + "." + std::to_string(version.build);
}

bool ParseUpdateData(const char* bytes, size_t length, uint16_t* major, uint16_t* minor,
                     uint16_t* release, uint16_t* build) {
  if (!bytes || length == 0) return CSystemError::Bool("ParseUpdateData", 42, false);
  std::string_view text(bytes, length);
  if (!text.starts_with(kProduct)) return false;
  text.remove_prefix(kProduct.size());
  *major = *minor = *release = *build = 0;
  if (!ParseInt(&text, major)) return false;
  for (uint16_t* number : {minor, release, build}) {
    if (!text.starts_with('.')) break;
    text.remove_prefix(1);
    if (text.empty()) {
      // A point with nothing behind it.
      CSystemError::Plain("ParseInt", 18);
      break;
    }
    (void)ParseInt(&text, number);
  }
  const size_t colon = text.find(':');
  return colon != text.npos && text.substr(colon).starts_with(kEnd);
}

bool IsNewer(const ProgramVersion& offered, const ProgramVersion& own) {
  return std::tie(offered.major, offered.minor, offered.release, offered.build) >
         std::tie(own.major, own.minor, own.release, own.build);
}

}  // namespace quill
