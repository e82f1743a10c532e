// SPDX-License-Identifier: GPL-3.0-or-later
// File names as text. A name is bytes: it may hold line breaks, escape sequences for a terminal, or
// no valid UTF-8 at all. Such bytes are shown as "\xNN", so that a name can neither break a line
// nor steer a terminal, and stays recognisable.
#pragma once

#include <string>
#include <string_view>

namespace quill::cli {

// For a terminal: control characters and bytes that are not UTF-8 become "\xNN".
[[nodiscard]] std::string TerminalText(std::string_view name);
// A JSON string with its quotes. Bytes that are not UTF-8 become the text "\xNN".
[[nodiscard]] std::string JsonText(std::string_view text);
// A JSON number; "null" for a score that was not computed (below 0).
[[nodiscard]] std::string JsonScore(float score);

}  // namespace quill::cli
