// SPDX-License-Identifier: GPL-3.0-or-later
// The pending-work stream: what a scan had yet to do when the program ended, so that it can go on
// at the next start. Written only at termination, read only at start, never cleared between. The
// stream lies at byte 2048 of its file; the bytes before belong to nobody yet. Layout in
// docs/results-format.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "core/sync.h"
#include "storage/file_map.h"

namespace quill {

class CSerializer;

// The random-access store under the stream: a mapped file kept open, guarded by a mutex of its own.
class CPendingWorkStore {
 public:
  static constexpr uint32_t kReserved = 2048;  // bytes in front of the stream

  // Creates the file at first use, kReserved bytes long when new. False after a report, as below.
  [[nodiscard]] bool Open(const std::string& path) EXCLUDES(m_sync);
  // Offsets are those of the stream. Null data with a length is an error.
  [[nodiscard]] bool Write(uint32_t offset, const uint8_t* data, uint32_t length) EXCLUDES(m_sync);
  // With `got`: up to `length` bytes, 0 past the end, no error. Without: fails past the end.
  [[nodiscard]] bool Read(uint32_t offset, uint8_t* buffer, uint32_t length,
                          uint32_t* got = nullptr) EXCLUDES(m_sync);
  [[nodiscard]] bool SetEnd(uint32_t length) EXCLUDES(m_sync);

 private:
  CSync m_sync;
  CFileMap m_map GUARDED_BY(m_sync);
};

// The pool, as the writer sees it.
class CPendingWorkPool {
 public:
  virtual ~CPendingWorkPool() = default;
  // Stops the pool and ends its threads; each queued request is handed to `serializer` by the
  // worker threads in place of being run.
  virtual void Shutdown(CSerializer* serializer) = 0;
};

// The scan state of one engine: the files of the present scan in their order of arrival.
class CPendingWorkState {
 public:
  virtual ~CPendingWorkState() = default;
  // Writes one record for each file of the present scan. False after a report.
  [[nodiscard]] virtual bool SerializeState(CSerializer& serializer) = 0;
  // Restores the mark of one file: true if the path is known. Raises both scan counters when the
  // file was not in the scan yet.
  virtual bool RestoreState(std::string_view path, uint8_t group) = 0;
};

// What was left: requests, in the numbering of the pool.
class CPendingWorkQueue {
 public:
  virtual ~CPendingWorkQueue() = default;
  virtual void Requeue(uint32_t kind, std::string path, uint8_t firstFlag, uint8_t secondFlag) = 0;
};

// The writer. The record writers may be called from any thread; InnerProcess on the main thread.
class CSerializer {
 public:
  // All must outlive the serializer; `image` may be null.
  CSerializer(CPendingWorkStore& store, CPendingWorkPool& pool, CPendingWorkState* audio,
              CPendingWorkState* image);

  // Rewinds the stream, shuts the pool down into it, adds the engines' scan state and flushes.
  // False after a report when an engine fails or the store refuses; what was written before stands.
  [[nodiscard]] bool InnerProcess();

  // One record each. False when the store refused the bytes.
  bool WriteFolder(std::string_view path, uint8_t group, uint8_t carriedFlag);
  bool WriteAnalysisFolder(std::string_view path, uint8_t carriedFlag);
  bool WriteFile(std::string_view path, uint8_t group);
  bool WriteAnalysisFile(std::string_view path);
  bool WriteAudioState(std::string_view path, uint8_t group);
  bool WriteImageState(std::string_view path, uint8_t group);

 private:
  static constexpr uint32_t kBuffer = 65536;

  bool WriteRecord(uint8_t type, std::string_view path, std::initializer_list<uint8_t> flags)
      EXCLUDES(m_sync);
  bool Put(const void* bytes, size_t length) REQUIRES(m_sync);
  bool Flush() REQUIRES(m_sync);
  bool Rewind() EXCLUDES(m_sync);

  CPendingWorkStore& m_store;
  CPendingWorkPool& m_pool;
  CPendingWorkState* const m_audio;
  CPendingWorkState* const m_image;
  CSync m_sync;
  std::unique_ptr<uint8_t[]> m_buffer GUARDED_BY(m_sync);
  uint32_t m_cursor GUARDED_BY(m_sync) = 0;        // write place in the buffer
  uint32_t m_streamOffset GUARDED_BY(m_sync) = 0;  // of the buffer's start
  bool m_failed GUARDED_BY(m_sync) = false;        // the store refused; the stream ends before it
};

// The reader. Main thread, before any scan can start.
class CSerializerReader {
 public:
  CSerializerReader(CPendingWorkStore& store, CPendingWorkQueue& queue, CPendingWorkState* audio,
                    CPendingWorkState* image);
  // Restores the engines' marks at once and hands the requests over after the stream has ended.
  // No stream, or one of another version, resumes nothing and is no error. A record cut short ends
  // the reading.
  [[nodiscard]] bool InnerProcess();

 private:
  static constexpr uint32_t kBuffer = 65536;
  struct Request {
    uint32_t kind = 0;
    std::string path;
    uint8_t firstFlag = 0;
    uint8_t secondFlag = 0;
  };

  // Reads one record behind its type byte; marks act at once, a request joins `requests`. False
  // ends the reading.
  [[nodiscard]] bool ReadRecord(uint8_t type, std::list<Request>& requests);
  [[nodiscard]] bool Get(void* bytes, size_t length);
  [[nodiscard]] bool GetString(std::string* text);
  [[nodiscard]] bool Reload();

  CPendingWorkStore& m_store;
  CPendingWorkQueue& m_queue;
  CPendingWorkState* const m_audio;
  CPendingWorkState* const m_image;
  std::unique_ptr<uint8_t[]> m_buffer;
  uint32_t m_cursor = 0;
  uint32_t m_end = 0;
  uint32_t m_streamOffset = 0;  // of the next load
};

}  // namespace quill
