// SPDX-License-Identifier: GPL-3.0-or-later
// What the user hands to the program from outside: the words of the command line, those of a second
// start, and what is dropped on the window. Paths are bytes of the file system. Looks at the disk;
// main thread.
#pragma once

#include <QStringList>
#include <string>
#include <vector>

class QMimeData;

namespace quill {

struct GivenPaths {
  std::vector<std::string> folders;  // for the list of folders to scan
  std::string results;               // a results file to show; empty for none
  QStringList refused;               // a sentence for each path that is not taken, and why
};

// Each path once, in their order. One results file can be on show: of several it is the first.
[[nodiscard]] GivenPaths SortGiven(const std::vector<std::string>& paths);

// The local files among what is dragged.
[[nodiscard]] std::vector<std::string> DraggedPaths(const QMimeData& data);
// Whether any of them is a folder, or by its name a results file.
[[nodiscard]] bool MayTake(const std::vector<std::string>& paths);

}  // namespace quill
