// SPDX-License-Identifier: GPL-3.0-or-later
// Exports the image duplicates as a page, with a small picture of each file. The pictures are read
// on a thread of their own, from a copy of the table, under a dialog that tells how far it is and
// can stop it. Main thread.
#pragma once

#include <QString>
#include <string>

#include "results/image_dups_controller.h"

class QWidget;

namespace quill {

// Returns when all is written or nothing is: with the reason for a failure, empty when the page
// stands and when the user, or the end of the session, has stopped it.
[[nodiscard]] QString ExportPicturePage(QWidget* parent, const CImageDupsController& table,
                                        const std::string& path);

}  // namespace quill
