// SPDX-License-Identifier: GPL-3.0-or-later
// A rename that never overwrites: what the target's name holds stays, whoever put it there and
// however late. Names are raw bytes. Any thread.
#pragma once

#include <string>

namespace quill {

// Within a volume. Gives 0 or an errno, EEXIST when the target's name is taken. Where the file
// system does not know such a rename, a second link takes the new name before the old one goes;
// where it knows no links either, the rename is refused.
[[nodiscard]] int RenameNoReplace(const std::string& from, const std::string& to);

}  // namespace quill
