// SPDX-License-Identifier: GPL-3.0-or-later
// Asks the user for folders. Main thread.
#pragma once

#include <string>
#include <vector>

class QWidget;

namespace quill {

// Several may be chosen at once; nothing when cancelled.
[[nodiscard]] std::vector<std::string> ChooseFolders(QWidget* parent);

}  // namespace quill
