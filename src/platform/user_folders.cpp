// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/user_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace quill {

namespace {

constexpr const char* kIdentifier = "/org.quillmarsh.Quillmarsh";
constexpr const char* kSettingsFile = "/settings.ini";
constexpr const char* kLogsFolder = "/logs";

std::string Home() {
  if (const char* home = std::getenv("HOME"); home && *home == '/') return home;
  const passwd* entry = getpwuid(getuid());
  return entry && entry->pw_dir ? entry->pw_dir : std::string();
}

// By the base directory rules a relative path in the variable is ignored. Empty when there is no
// home either.
std::string BaseFolder(const char* variable, const char* belowHome) {
  if (const char* value = std::getenv(variable); value && *value == '/') return value;
  const std::string home = Home();
  return home.empty() ? home : home + belowHome;
}

std::string Join(const std::string& base, const std::string& rest) {
  return base.empty() ? base : base + rest;
}

}  // namespace

std::string CUserFolders::DataHome() {
  return BaseFolder("XDG_DATA_HOME", "/.local/share");
}

CUserFolders CUserFolders::ByEnvironment() {
  const std::string identifier = kIdentifier;
  return {.support = Join(DataHome(), identifier),
          .logs = Join(BaseFolder("XDG_STATE_HOME", "/.local/state"), identifier + kLogsFolder),
          .settings = Join(BaseFolder("XDG_CONFIG_HOME", "/.config"), identifier + kSettingsFile)};
}

CUserFolders CUserFolders::Under(const std::string& folder) {
  return {.support = folder, .logs = folder + kLogsFolder, .settings = folder + kSettingsFile};
}

}  // namespace quill
