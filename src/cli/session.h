// SPDX-License-Identifier: GPL-3.0-or-later
// What a command needs before it can work: the data folder, locked for this run, and the settings.
// Main thread; lives as long as the command.
#pragma once

#include <memory>
#include <string>

#include "cli/arguments.h"
#include "cli/override_store.h"
#include "platform/data_session.h"

namespace quill::cli {

class CSession {
 public:
  CSession() = default;
  ~CSession();
  CSession(const CSession&) = delete;
  CSession& operator=(const CSession&) = delete;

  // False after a message to the user.
  [[nodiscard]] bool Open(const Arguments& arguments);

  // A file of the data folder, for messages and for the stores.
  [[nodiscard]] static std::string DataFile(const char* name);

 private:
  CDataSession m_data;
  std::unique_ptr<COverrideStore> m_settings;
};

// One line on standard error, with the program's name in front.
void Complain(const std::string& message);

}  // namespace quill::cli
