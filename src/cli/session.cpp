#include "cli/session.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "app/data_files.h"
#include "app/front_end.h"
#include "cli/safe_text.h"
#include "core/configuration.h"
#include "core/log.h"
#include "platform/user_folders.h"

namespace quill::cli {

namespace {

// Settings that a run of the command line fixes for itself: the window's last mode must not decide
// what `scan` does.
constexpr int32_t kDuplicatesMode = 1;
constexpr int32_t kAnalysisMode = 2;

}  // namespace

void Complain(const std::string& message) {
  std::fprintf(stderr, "quillmarsh-cli: %s\n", message.c_str());
}

CSession::~CSession() {
  if (m_settings) CConfiguration::Instance().SetStore(nullptr);
}

bool CSession::Open(const Arguments& arguments) {
  const CUserFolders folders = arguments.dataDir.empty() ? CUserFolders::ByEnvironment()
                                                         : CUserFolders::Under(arguments.dataDir);
  CConfiguration& configuration = CConfiguration::Instance();
  configuration.SetFolders(folders.support, folders.logs);

  errno = 0;
  const std::string lockFile = configuration.ApplicationSupportPath(kLockFile);
  const CDataLock::Result locked =
      lockFile.empty() ? CDataLock::Result::kFailed : m_lock.Lock(lockFile);
  if (locked == CDataLock::Result::kTaken) {
    Complain("another Quillmarsh is using " + TerminalText(folders.support) +
             "; wait for it to end, or choose another folder with --data-dir");
    return false;
  }
  if (locked == CDataLock::Result::kFailed) {
    Complain("cannot write in the data folder " + TerminalText(folders.support) + ": " +
             std::strerror(errno) + "; choose another with --data-dir");
    return false;
  }

  CLog::Instance().SetFolder(configuration.LogsPath());
  m_file = std::make_unique<CIniSettingsStore>(folders.settings);
  m_settings = std::make_unique<COverrideStore>(*m_file);
  m_settings->Override("scanningMode", arguments.analyse ? kAnalysisMode : kDuplicatesMode);
  for (const auto& [key, value] : arguments.settings) m_settings->Override(key, value);
  if (arguments.threads != 0) {
    m_settings->Override("enableThreadLimit", true);
    m_settings->Override("valueThreadLimit", static_cast<int32_t>(arguments.threads));
  }
  configuration.SetStore(m_settings.get());
  return true;
}

std::string CSession::DataFile(const char* name) {
  return CConfiguration::Instance().ApplicationSupportPath(name);
}

}  // namespace quill::cli
