// SPDX-License-Identifier: GPL-3.0-or-later
// Format codes of files as users read them.
#pragma once

#include <cstdint>

namespace quill {

// "-" for an unknown code.
[[nodiscard]] const char* AudioFormatText(uint16_t format);

}  // namespace quill
