// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/session.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/safe_text.h"
#include "core/configuration.h"
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
  // Before the settings of this run go; what lies below them goes with the session's data.
  CConfiguration::Instance().SetStore(nullptr);
}

bool CSession::Open(const Arguments& arguments) {
  const CUserFolders folders = arguments.dataDir.empty() ? CUserFolders::ByEnvironment()
                                                         : CUserFolders::Under(arguments.dataDir);
  switch (m_data.Open(folders)) {
    case CDataLock::Result::kTaken:
      Complain("another Quillmarsh is using " + TerminalText(folders.support) +
               "; wait for it to end, or choose another folder with --data-dir");
      return false;
    case CDataLock::Result::kFailed:
      Complain("cannot write in the data folder " + TerminalText(folders.support) + ": " +
               std::strerror(errno) + "; choose another with --data-dir");
      return false;
    case CDataLock::Result::kLocked:
      break;
  }
  m_settings = std::make_unique<COverrideStore>(m_data.Settings());
  m_settings->Override("scanningMode", arguments.analyse ? kAnalysisMode : kDuplicatesMode);
  for (const auto& [key, value] : arguments.settings) m_settings->Override(key, value);
  if (arguments.threads != 0) {
    m_settings->Override("enableThreadLimit", true);
    m_settings->Override("valueThreadLimit", static_cast<int32_t>(arguments.threads));
  }
  CConfiguration::Instance().SetStore(m_settings.get());
  return true;
}

std::string CSession::DataFile(const char* name) {
  return CConfiguration::Instance().ApplicationSupportPath(name);
}

}  // namespace quill::cli
