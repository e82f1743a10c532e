// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/data_session.h"

#include <cerrno>

#include "core/configuration.h"
#include "core/log.h"

namespace quill {

namespace {

constexpr const char* kLockFile = "lock";

}  // namespace

CDataSession::~CDataSession() {
  if (m_settings) CConfiguration::Instance().SetStore(nullptr);
}

CDataLock::Result CDataSession::Open(const CUserFolders& folders) {
  CConfiguration& configuration = CConfiguration::Instance();
  configuration.SetFolders(folders.support, folders.logs);
  errno = 0;
  const std::string lockFile = configuration.ApplicationSupportPath(kLockFile);
  const CDataLock::Result result =
      lockFile.empty() ? CDataLock::Result::kFailed : m_lock.Lock(lockFile);
  if (result != CDataLock::Result::kLocked) return result;
  CLog::Instance().SetFolder(configuration.LogsPath());
  m_settings = std::make_unique<CIniSettingsStore>(folders.settings);
  configuration.SetStore(m_settings.get());
  return result;
}

}  // namespace quill
