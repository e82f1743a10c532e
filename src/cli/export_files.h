// SPDX-License-Identifier: GPL-3.0-or-later
// The --export of a scan: text files of what it found.
#pragma once

#include "app/app_delegate.h"
#include "cli/arguments.h"
#include "results/picture_page.h"

namespace quill::cli {

// Ratings of an analysis, else the pairs of sound files; pairs of pictures stand in their place
// when there are only those, and in a second file beside it when there are both. False after a
// message to the user, and without one when `goOn` gave up the page of the pictures.
[[nodiscard]] bool ExportResults(const Arguments& arguments, TDXAppDelegate& delegate,
                                 const CPicturePage::GoOn& goOn);

}  // namespace quill::cli
