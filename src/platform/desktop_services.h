// SPDX-License-Identifier: GPL-3.0-or-later
// What the user's desktop does with files: opens them with the program of their type, and shows
// them in the file manager. Paths are bytes of the file system and reach the desktop as they are.
// Main thread; needs a QGuiApplication.
#pragma once

#include <string>
#include <vector>

namespace quill {

// "file:///home/ann/a%20b": percent-encoded byte by byte, whatever the bytes mean.
[[nodiscard]] std::string FileUrl(const std::string& path);

// False when no program took the file.
[[nodiscard]] bool OpenWithDesktop(const std::string& path);

// Selects the files in the file manager; where none answers, opens the folder of the first one. The
// answer is not waited for.
void ShowInFileManager(const std::vector<std::string>& paths);

}  // namespace quill
