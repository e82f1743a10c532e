// SPDX-License-Identifier: GPL-3.0-or-later
// Where a user's data live: the freedesktop folders, or all under one folder of the user's choice.
#pragma once

#include <string>

namespace quill {

struct CUserFolders {
  std::string support;   // cache, ignore list, autosave, pending work
  std::string logs;      // daily logs
  std::string settings;  // full path of the settings file

  // The XDG data home; empty when there is no home.
  [[nodiscard]] static std::string DataHome();
  // By the environment: XDG data, state and config homes.
  [[nodiscard]] static CUserFolders ByEnvironment();
  // All of it below `folder`.
  [[nodiscard]] static CUserFolders Under(const std::string& folder);
};

}  // namespace quill
