// SPDX-License-Identifier: GPL-3.0-or-later
// Moves a file to another volume: a complete copy under a hidden name beside the target, safe on
// the disk, takes the target's name, and only then the source goes. Whatever fails on the way, the
// source is still there and the copy is not. A program that is killed leaves the hidden copy, named
// ".quillmarsh-" and six letters. Any thread.
#pragma once

#include <string>

namespace quill {

// Keeps mode, times and, as far as the volume takes them, owner and extended attributes. Gives 0 or
// an errno: EEXIST when the target's name is taken, EBUSY when the source was changed meanwhile,
// ELOOP for a link.
[[nodiscard]] int MoveByCopy(const std::string& from, const std::string& to);

}  // namespace quill
