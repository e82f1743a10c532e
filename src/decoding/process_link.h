// SPDX-License-Identifier: GPL-3.0-or-later
// The application's end of one decoder process. No codec runs in the application: every file is
// opened, decoded and tag-read by a child, so that a crash or a hang on a malformed file costs one
// child and not the scan. The link starts the child, holds two pipes and one shared mapping with
// it, moves framed words and strings, serves the child's own requests (log text, resize of the
// mapping) and notices hangs and crashes. Bulk data never go through the pipes.
//
// A link owns at most one child and is used by one thread at a time: its owner. Commands are
// strictly request, then reply. A client does: Reinit, WriteCmd, Write…, ReadReply, Read…;
// SendCommand is all but the last with the one retry that an orderly end of the child asks for.
// Failures give false after a report; nothing throws. The process must ignore SIGPIPE.
//
// Messages have no length and no number, so a child that has once said too much, too little or
// something else would answer every later request with the reply to an earlier one. Whatever shows
// that (another command's id, bytes that nobody asked for, data that the mapping does not hold)
// costs the child: one line in the log, and the next Reinit starts another.
// A stuck or lying child is never signalled: the link lets go of it, and it leaves when it next
// touches a pipe.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "decoding/decoder_table.h"

namespace quill {

class CProcessLink {
 public:
  // A read or write that makes no progress for this long means that the child hangs.
  static constexpr int32_t kHangMs = 20000;

  // The path of "decoder" in the folder of this program's own executable.
  [[nodiscard]] static std::string OwnDecoder();

  // `table` must outlive the link. `program` is the path of the child; empty stands for
  // OwnDecoder(). Tests shorten `hangMs`.
  explicit CProcessLink(CDecoderTable& table, std::string program = {}, int32_t hangMs = kHangMs);
  ~CProcessLink() { Release(); }
  CProcessLink(const CProcessLink&) = delete;
  CProcessLink& operator=(const CProcessLink&) = delete;

  // Makes sure that a live child with the current decoder table is behind the link. The only
  // operation that starts one.
  [[nodiscard]] bool Reinit();
  // All or nothing as far as the caller can tell.
  [[nodiscard]] bool Write(const void* buffer, size_t length);
  [[nodiscard]] bool Write(std::string_view text);
  [[nodiscard]] bool WriteWord(uint32_t word) { return Write(&word, sizeof word); }
  [[nodiscard]] bool Read(void* buffer, size_t length);
  [[nodiscard]] bool Read(std::string* text);
  [[nodiscard]] bool ReadWord(uint32_t* word) { return Read(word, sizeof *word); }
  // The id of a command, whose arguments follow with Write. Only for the start of one: the child
  // must have said nothing since its last reply.
  [[nodiscard]] bool WriteCmd(uint32_t command);
  // The next command word that is no request of the child's own; those are served on the way.
  [[nodiscard]] bool ReadCmd(uint32_t* word);
  // The head of the reply to `command`: its id again, and the status. False costs the child.
  [[nodiscard]] bool ReadReply(uint32_t command, uint32_t* status);
  // Reinit, then `send`, a callable that writes one whole command, reads the head of its reply and
  // tells success. Both once more if the child left in the orderly way.
  template <class Send>
  [[nodiscard]] bool SendCommand(const Send& send) {
    return (Reinit() && send()) || (m_shutdown && Reinit() && send());
  }
  // Gives a large mapping back after a file is closed; at most 1 MiB stays for the next file.
  [[nodiscard]] bool PurgeMapping();
  // Lets go of the child and of the mapping. Safe when idle.
  void Release();
  // Release of a child whose word is no good, with the reason as one line in the log. Always false.
  bool Reject(const char* reason);

  // One line of the log with the link's context behind it. Null is ignored.
  void LogMessage(const char* text);
  // Context for the log lines: what the owner is doing. 0 and empty texts are left out.
  void SetLogContext(uint32_t decoderId, std::string path, std::string description);

  [[nodiscard]] bool IsOpen() const { return m_pipeRead != -1 && m_pipeWrite != -1; }
  [[nodiscard]] const uint8_t* Map() const { return m_map; }
  [[nodiscard]] uint64_t MapSize() const { return m_mapSize; }
  [[nodiscard]] pid_t ChildId() const { return m_pid; }

 private:
  // The backing file, the pipes and the child.
  [[nodiscard]] bool Start();
  [[nodiscard]] bool Handshake();
  // False when the child hangs: logged and released.
  [[nodiscard]] bool WaitFor(int32_t descriptor, int16_t events);
  // After a broken pipe. Always false.
  bool LoseChild();
  // Waits for the child's end, no longer than for its words, and logs what it was; an orderly end
  // sets m_shutdown instead.
  void ReapProcess();
  // True when there are bytes to read where none may be: before a command.
  [[nodiscard]] bool HasStrayBytes() const;
  // The rest of a reply's head of which `word` has been read.
  [[nodiscard]] bool ReadStatus(uint32_t command, uint32_t word, uint32_t* status);
  // Leaves a mapping of size 0 when there is no room.
  void Resize(uint32_t wanted);
  void Unmap();

  CDecoderTable& m_table;
  const std::string m_program;
  const int32_t m_hangMs;
  int32_t m_pipeRead = -1;
  int32_t m_pipeWrite = -1;
  int32_t m_md = -1;  // backing file of the mapping, inherited by the child under this number
  pid_t m_pid = -1;
  uint8_t* m_map = nullptr;
  uint64_t m_mapSize = 0;   // bytes
  bool m_shutdown = false;  // the child left with the orderly exit status
  uint32_t m_cmpId = 0;     // generation of the table that the child was started with
  uint32_t m_logDecoder = 0;
  std::string m_logPath;
  std::string m_logDescr;
};

}  // namespace quill
