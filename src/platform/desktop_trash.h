// SPDX-License-Identifier: GPL-3.0-or-later
// The trash that desktops show and restore from, by the rules of freedesktop.org: "files" holds
// what was thrown away, "info" a small text beside each with the old path and the time. A file goes
// to the user's own trash when that lies on the file's volume, else to the volume's, so that
// trashing is always a rename: nothing is copied and nothing overwritten. Names are raw bytes; a
// link is trashed itself and not what it leads to. Any thread, also of several processes at a time:
// the info file, made exclusively, reserves the name.
#pragma once

#include <string>

namespace quill {

class CDesktopTrash {
 public:
  // `home` is the user's own trash folder, made when it is needed; empty when there is no home.
  explicit CDesktopTrash(std::string home);

  // Gives 0 or an errno, and then the file is where it was: EISDIR for a folder, the reason of the
  // system when no trash can be made on the file's volume.
  [[nodiscard]] int Put(const std::string& path) const;

 private:
  const std::string m_home;
};

}  // namespace quill
