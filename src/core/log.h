// SPDX-License-Identifier: GPL-3.0-or-later
// The daily log: one text file per UTC day, "/%04d-%02d-%02d.log" in the logs folder, written
// through a mapped window of 64 KiB so that a line from a worker costs a copy and no system call.
// A line is "YYYY-MM-DD HH:MM:SS", TAB, text, CR LF, in UTC. Any thread may log; the log's mutex is
// held from the start of a line to its end, so lines never mix. Failures of the log are silent by
// design: the text is lost and the program goes on.
//
// One log writes a file at a time. An advisory lock keeps a second process out, whose text is lost
// until the first ends: the one that closed first would cut the file under the other's mapping.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "core/sync.h"

namespace quill {

class CLogLine;

class CLog {
 public:
  // Seconds since 1970; tests supply their own to cross midnight.
  using Clock = std::time_t (*)();

  // The log of the process. Made at first use, closed at exit.
  static CLog& Instance();

  explicit CLog(Clock clock = nullptr);
  ~CLog();
  CLog(const CLog&) = delete;
  CLog& operator=(const CLog&) = delete;

  // Closes the open file; the next line opens one in `folder` (one trailing '/' is dropped). With
  // no folder set, it is "logs" beside the executable.
  void SetFolder(std::string_view folder) EXCLUDES(m_sync);
  // Copies everything to standard error as well. Off at start.
  void EchoOn() EXCLUDES(m_sync);
  // Writes one sanitized line.
  void Line(std::string_view text);

 private:
  friend class CLogLine;
  void BeginLine() ACQUIRE(m_sync);
  void EndLine() RELEASE(m_sync);
  void Append(std::string_view text, bool sanitize) REQUIRES(m_sync);
  void Write(const char* bytes, size_t length) REQUIRES(m_sync);
  [[nodiscard]] bool OpenFile() REQUIRES(m_sync);
  [[nodiscard]] bool MapBlock() REQUIRES(m_sync);
  void CloseFile() REQUIRES(m_sync);

  const Clock m_clock;
  CSync m_sync;
  std::string m_folder GUARDED_BY(m_sync);
  char* m_base GUARDED_BY(m_sync) = nullptr;    // start of the mapped block, null when none
  char* m_end GUARDED_BY(m_sync) = nullptr;     // end of that block
  char* m_cursor GUARDED_BY(m_sync) = nullptr;  // next byte to write
  int32_t m_day GUARDED_BY(m_sync) = 0;         // day of the month of the open file
  bool m_echo GUARDED_BY(m_sync) = false;
  int32_t m_file GUARDED_BY(m_sync) = -1;
};

// One line of the log, from construction to destruction; holds the log's mutex all the while, so it
// must end before the same thread begins another. With `sanitize`, TAB, LF and CR become blanks.
// Leaves errno as it found it, so that the log's own system calls never show up in a report.
class SCOPED_CAPABILITY CLogLine {
 public:
  explicit CLogLine(CLog& log = CLog::Instance(), bool sanitize = true) ACQUIRE(log.m_sync);
  ~CLogLine() RELEASE();
  CLogLine(const CLogLine&) = delete;
  CLogLine& operator=(const CLogLine&) = delete;

  CLogLine& Append(const char* text);  // null is ignored
  CLogLine& Append(std::string_view text);
  CLogLine& AppendInteger(int32_t value);

 private:
  CLog& m_log;
  const bool m_sanitize;
  const int32_t m_errno;  // of the caller
};

}  // namespace quill
