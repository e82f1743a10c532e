// SPDX-License-Identifier: GPL-3.0-or-later
// The pool of threads that does all scanning. It owns one FIFO queue of requests, the run and stop
// words that the scan button acts on, and the threads; each thread builds its own CWorkerContext,
// so that decoder link and scratch memory are private to it and set up once. Folders are walked by
// the same threads: a folder request queues one request per entry at the tail, so the walk is
// breadth-first and mixed with file work. The pool knows nothing of audio or images.
//
// The main thread starts, pauses, continues, stops, and sets the thread count; any thread queues.
// Locks: the queue mutex and the gate mutex, never held together; the callback is called outside
// both. Threads run at the lowest time-sharing priority.
#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "core/scan_counters.h"
#include "core/sync.h"
#include "storage/pending_work.h"

namespace quill {

// The engines of one thread, made and destroyed on that thread.
class CFileEngines {
 public:
  virtual ~CFileEngines() = default;
  // True when the file is finished and counts, false when no engine took it.
  [[nodiscard]] virtual bool ProcessFile(const std::string& path, uint8_t group, bool analysis) = 0;
};

class CWorkerContext;

class CWorkers : public CPendingWorkPool, public CPendingWorkQueue {
 public:
  static constexpr uint32_t kMostThreads = 32;

  struct Request {
    enum Kind : uint32_t { kFolder = 0, kFile = 1, kAnalysisFolder = 2, kAnalysisFile = 3 };
    uint32_t kind = kFolder;
    std::string path;  // absolute, as the file system has it, no trailing slash added
    // kFolder: folder group, carried flag. kFile: folder group. kAnalysisFolder: carried flag.
    // The carried flag is set for a selected folder, copied to its subfolders and stored with the
    // pending work; nothing tests it.
    uint8_t firstFlag = 0;
    uint8_t secondFlag = 0;
  };

  // Called on each new thread to make its engines, from several threads at once. With null, as when
  // memory is short, that thread takes no file.
  using EnginesFactory = std::function<std::unique_ptr<CFileEngines>()>;

  // No threads yet. `counters` must outlive the pool.
  CWorkers(CScanCounters& counters, EnginesFactory factory);
  // Shutdown with null.
  ~CWorkers() override;

  // Called from any thread each time pending work goes from 0 to 1 or from 1 to 0. Set before the
  // first request.
  std::function<void()> m_callback;

  // Null: a report and false.
  bool QueueRequest(std::unique_ptr<Request> request);
  void Continue() EXCLUDES(m_gate);
  // Holds each request at the gate between being taken and being run; a file in progress goes on.
  void Pause() EXCLUDES(m_gate);
  // Requests in execution run to their end; all others, those that a pause holds and those that
  // come until then included, are taken and not executed. Then the pool is idle. Nothing happens
  // without pending work.
  void Stop() EXCLUDES(m_gate);
  // 0 = one per online processor; 32 at most. Removing threads ends a pause. False when a thread
  // could not be made.
  bool SetThreadCount(uint32_t limit);
  // Stops, ends all threads and joins them, and empties the queue; with a serializer, requests that
  // were not run are written to it.
  void Shutdown(CSerializer* serializer) override;
  void Requeue(uint32_t kind, std::string path, uint8_t firstFlag, uint8_t secondFlag) override;

  [[nodiscard]] bool IsRunning() const { return m_run.load() == 1; }
  [[nodiscard]] bool IsStopping() const { return m_stop.load() == 1; }
  // Requests queued or in execution.
  [[nodiscard]] uint32_t Pending() const { return m_pending.load(); }
  // Entries that no worker has taken yet. A look inside for tests.
  [[nodiscard]] uint32_t Queued() const { return m_queued.load(); }
  [[nodiscard]] uint32_t ThreadCount() const { return m_threadCount; }

 private:
  enum class Edge { kStart, kEnd };  // of pending work

  static void* ThreadStarter(void* pool);
  bool InnerAddThreads(uint32_t count);
  void RemoveThreads(uint32_t count);
  void ThreadBody();
  [[nodiscard]] std::unique_ptr<Request> TakeRequest() EXCLUDES(m_queueSync);
  void PushPoison(uint32_t count, bool front) EXCLUDES(m_queueSync);
  void RunRequest(CWorkerContext& context, const Request& request);
  void ExecuteRequest(CWorkerContext& context, const Request& request);
  void DropRequest(const Request& request);
  void StateChange(Edge edge) EXCLUDES(m_gate);

  CScanCounters& m_counters;
  const EnginesFactory m_factory;

  // Atomic: the main thread reads these with no lock for display and validation.
  std::atomic<uint32_t> m_run{1};   // 1 = requests may start, 0 = paused; changed under m_gate
  std::atomic<uint32_t> m_stop{0};  // 1 = stopping; changed under m_gate
  // Stop reads it under m_gate: what is pending then has its end, which clears `m_stop`, ahead.
  std::atomic<uint32_t> m_pending{0};
  // Length of m_queue, poison included; changed under m_queueSync.
  std::atomic<uint32_t> m_queued{0};
  std::atomic<CSerializer*> m_serializer{nullptr};  // not null only during a saving shutdown

  CSync m_queueSync;
  CCondition m_queueCondition;
  std::list<std::unique_ptr<Request>> m_queue GUARDED_BY(m_queueSync);  // null = poison

  CSync m_gate;
  CCondition m_gateCondition;

  // Main thread only.
  std::array<pthread_t, kMostThreads> m_threads{};  // packed from index 0
  uint32_t m_threadCount = 0;
};

}  // namespace quill
