// Asks the user for folders: by a dialog, and by what is dropped on a window. Main thread.
#pragma once

#include <string>
#include <vector>

class QMimeData;
class QWidget;

namespace quill {

// Several may be chosen at once; nothing when cancelled.
[[nodiscard]] std::vector<std::string> ChooseFolders(QWidget* parent);

// The folders among dropped files, in their order, as bytes of the file system.
[[nodiscard]] std::vector<std::string> DroppedFolders(const QMimeData& data);

}  // namespace quill
