// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/loaded_results.h"

#include "cli/safe_text.h"
#include "cli/session.h"

namespace quill::cli {

CLoadedResults::CLoadedResults() {
  audio.m_controller = &analysis;
  analysis.m_controller = &audio;
}

bool CLoadedResults::Load(const std::string& path, bool follow) {
  // A file that is none of ours would be emptied by the open for writing.
  if (!CResultsJournal::IsResultsFile(path)) {
    Complain(TerminalText(path) + " cannot be read, or is no results file");
    return false;
  }
  const bool open = follow ? m_journal.OpenForWriting(path) : m_journal.OpenForReading(path);
  if (!open || !m_journal.Load()) {
    Complain(TerminalText(path) + (follow ? " cannot be written" : " cannot be read"));
    return false;
  }
  if (follow) audio.m_journal = images.m_journal = analysis.m_journal = &m_journal;
  return true;
}

}  // namespace quill::cli
