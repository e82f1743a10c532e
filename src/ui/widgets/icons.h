// SPDX-License-Identifier: GPL-3.0-or-later
// The pictures of the window: by name from the desktop's icon theme where it has one, else from the
// program's own, which follow the palette's text colour, so that they read on dark and on light.
// Main thread.
#pragma once

#include <QIcon>
#include <QString>

namespace quill {

// `name` as in src/ui/icons/NAME.svg; a name with no file there is a fault of the program.
[[nodiscard]] QIcon Icon(const QString& name);

}  // namespace quill
