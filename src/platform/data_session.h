// SPDX-License-Identifier: GPL-3.0-or-later
// The data folder of one run of a program: locked against other programs, known to the
// configuration and the log, with the settings file as the configuration's store. Main thread;
// lives as long as anything reads settings.
#pragma once

#include <memory>

#include "platform/data_lock.h"
#include "platform/ini_settings_store.h"
#include "platform/user_folders.h"

namespace quill {

class CDataSession {
 public:
  CDataSession() = default;
  ~CDataSession();
  CDataSession(const CDataSession&) = delete;
  CDataSession& operator=(const CDataSession&) = delete;

  // kFailed leaves the reason in errno. Settings can be read after kLocked only.
  [[nodiscard]] CDataLock::Result Open(const CUserFolders& folders);
  [[nodiscard]] CSettingsStore& Settings() { return *m_settings; }

 private:
  CDataLock m_lock;
  std::unique_ptr<CIniSettingsStore> m_settings;
};

}  // namespace quill
