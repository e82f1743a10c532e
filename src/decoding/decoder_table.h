// SPDX-License-Identifier: GPL-3.0-or-later
// The user's choice of decoder back-ends: which may be used, in which order, for which extensions.
// The application passes the rows on to each decoder process and names them; it never uses them
// itself. Loaded from the configuration on the main thread; every CProcessLink compares the
// generation at its next open and replaces its child when the table has changed.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "core/sync.h"
#include "decoding/wire.h"

namespace quill {

class CDecoderTable {
 public:
  using Rows = std::vector<wire::DecoderRow>;

  // The table of the process.
  static CDecoderTable& Instance();

  // Empties `rows` and fills in the six built-in ones. Null: a report and false.
  static bool LoadDefaults(Rows* rows);
  // The defaults with the setting "audioDecoders" applied. Null: a report and false.
  static bool LoadDecoders(Rows* rows);
  // The list of strings that LoadDecoders reads, three per row.
  static std::vector<std::string> ToSetting(const Rows& rows);
  // Name of a decoder id, "Unknown" for any other.
  static const char* Name(uint32_t id);

  // Takes the current configuration in. An equal table changes nothing, so no child restarts.
  void Reload() EXCLUDES(m_sync);

  // Changes with each change of the table. Read with no lock: a link that sees it late restarts
  // its child at its next open.
  [[nodiscard]] uint32_t Generation() const { return m_generation.load(); }
  [[nodiscard]] Rows Snapshot() EXCLUDES(m_sync);
  // Held by a link while it starts a child, which also serialises the forks.
  CSync& Mutex() { return m_sync; }

 private:
  CSync m_sync;
  Rows m_rows GUARDED_BY(m_sync);
  std::atomic<uint32_t> m_generation{0};
};

}  // namespace quill
