// SPDX-License-Identifier: GPL-3.0-or-later
#include "workers/workers.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <new>
#include <thread>
#include <utility>

#include "core/log.h"
#include "core/system_error.h"
#include "core/thread_priority.h"
#include "workers/worker_context.h"

namespace quill {
namespace {

constexpr auto kJoinPoll = std::chrono::milliseconds(100);

uint32_t OnlineProcessors() {
  return static_cast<uint32_t>(std::max(1L, sysconf(_SC_NPROCESSORS_ONLN)));
}

bool IsFile(const CWorkers::Request& request) {
  return request.kind == CWorkers::Request::kFile ||
         request.kind == CWorkers::Request::kAnalysisFile;
}

}  // namespace

CWorkers::CWorkers(CScanCounters& counters, EnginesFactory factory)
    : m_counters(counters), m_factory(std::move(factory)) {}

CWorkers::~CWorkers() {
  Shutdown(nullptr);
}

bool CWorkers::QueueRequest(std::unique_ptr<Request> request) {
  if (request == nullptr) return CSystemError::Bool("QueueRequest", 67, false);
  if (m_pending.fetch_add(1) == 0) {
    m_counters.droppedFiles = 0;
    m_counters.droppedFolders = 0;
    StateChange(Edge::kStart);
  }
  if (IsFile(*request)) m_counters.scheduled.fetch_add(1);
  CSyncLock lock(m_queueSync);
  m_queue.push_back(std::move(request));
  m_queued.fetch_add(1);
  m_queueCondition.Signal();
  return true;
}

void CWorkers::Requeue(uint32_t kind, std::string path, uint8_t firstFlag, uint8_t secondFlag) {
  QueueRequest(std::unique_ptr<Request>(new (std::nothrow)
                                            Request{kind, std::move(path), firstFlag, secondFlag}));
}

void CWorkers::Continue() {
  CSyncLock lock(m_gate);
  m_run = 1;
  m_gateCondition.Broadcast();
}

void CWorkers::Pause() {
  CSyncLock lock(m_gate);
  m_run = 0;
}

void CWorkers::Stop() {
  CSyncLock lock(m_gate);
  if (m_pending > 0) m_stop = 1;
  m_gateCondition.Broadcast();
}

void CWorkers::StateChange(Edge edge) {
  {
    CSyncLock lock(m_gate);
    // An end that a new start has overtaken leaves the words alone: the start sets them, and what
    // the user has asked for since then holds.
    if (edge == Edge::kStart || m_pending == 0) {
      m_stop = 0;
      m_run = 1;
      m_gateCondition.Broadcast();
    }
  }
  if (m_callback) m_callback();
}

bool CWorkers::SetThreadCount(uint32_t limit) {
  const uint32_t wanted = std::min(limit == 0 ? OnlineProcessors() : limit, kMostThreads);
  if (wanted > m_threadCount) return InnerAddThreads(wanted - m_threadCount);
  RemoveThreads(m_threadCount - wanted);
  return true;
}

bool CWorkers::InnerAddThreads(uint32_t count) {
  for (; count > 0; --count) {
    const int error = pthread_create(&m_threads[m_threadCount], nullptr, &ThreadStarter, this);
    if (error != 0) {
      errno = error;
      return CSystemError::Bool("InnerAddThreads", 112, false);
    }
    ++m_threadCount;
  }
  return true;
}

void CWorkers::RemoveThreads(uint32_t count) {
  for (; count > 0; --count) {
    PushPoison(1, true);
    Continue();  // a paused pool must let the poison through
    const auto end = m_threads.begin() + m_threadCount;
    const auto ended = [end, first = m_threads.begin()] {
      return std::find_if(
          first, end, [](pthread_t thread) { return pthread_tryjoin_np(thread, nullptr) == 0; });
    };
    auto thread = ended();
    for (; thread == end; thread = ended()) std::this_thread::sleep_for(kJoinPoll);
    std::move(thread + 1, end, thread);
    --m_threadCount;
  }
}

void CWorkers::Shutdown(CSerializer* serializer) {
  m_serializer = serializer;
  Stop();
  PushPoison(m_threadCount, false);
  for (uint32_t i = 0; i < m_threadCount; ++i) pthread_join(m_threads[i], nullptr);
  m_threadCount = 0;
  // A folder that was being listed has queued its last entries behind the poisons.
  std::list<std::unique_ptr<Request>> rest;
  {
    CSyncLock lock(m_queueSync);
    rest.swap(m_queue);
    m_queued = 0;
  }
  for (const std::unique_ptr<Request>& request : rest) {
    if (!request) continue;
    DropRequest(*request);
    if (m_pending.fetch_sub(1) == 1) StateChange(Edge::kEnd);
  }
  m_serializer = nullptr;
}

void CWorkers::PushPoison(uint32_t count, bool front) {
  CSyncLock lock(m_queueSync);
  for (; count > 0; --count) {
    m_queue.emplace(front ? m_queue.begin() : m_queue.end());
    m_queued.fetch_add(1);
  }
  m_queueCondition.Broadcast();
}

void* CWorkers::ThreadStarter(void* pool) {
  if (pool == nullptr) {
    CSystemError::Plain("ThreadStarter", 237);
    return nullptr;
  }
  static_cast<CWorkers*>(pool)->ThreadBody();
  return nullptr;
}

void CWorkers::ThreadBody() {
  pthread_setname_np(pthread_self(), "scan worker");
  GiveWayToOthers();
  CWorkerContext context(*this, m_factory());
  CLog::Instance().Line("Thread started");
  while (std::unique_ptr<Request> request = TakeRequest()) {
    RunRequest(context, *request);
    request.reset();
    if (m_pending.fetch_sub(1) == 1) StateChange(Edge::kEnd);
  }
  CLog::Instance().Line("Thread stopped");
}

std::unique_ptr<CWorkers::Request> CWorkers::TakeRequest() {
  CSyncLock lock(m_queueSync);
  while (m_queue.empty()) m_queueCondition.Wait(m_queueSync);
  std::unique_ptr<Request> request = std::move(m_queue.front());
  m_queue.pop_front();
  m_queued.fetch_sub(1);
  return request;
}

void CWorkers::RunRequest(CWorkerContext& context, const Request& request) {
  bool stopping = false;
  {
    CSyncLock lock(m_gate);
    while (m_stop == 0 && m_run == 0) m_gateCondition.Wait(m_gate);
    stopping = m_stop != 0;
  }
  if (stopping)
    DropRequest(request);
  else
    ExecuteRequest(context, request);
}

void CWorkers::ExecuteRequest(CWorkerContext& context, const Request& request) {
  if (request.kind == Request::kFolder) {
    context.EnumerateFolder(request.path, request.firstFlag, request.secondFlag, false);
  } else if (request.kind == Request::kAnalysisFolder) {
    context.EnumerateFolder(request.path, 0, request.firstFlag, true);
  } else {
    const bool analysis = request.kind == Request::kAnalysisFile;
    if (context.ProcessFile(request.path, analysis ? 0 : request.firstFlag, analysis))
      m_counters.processed.fetch_add(1);
    else
      m_counters.scheduled.fetch_sub(1);
  }
}

void CWorkers::DropRequest(const Request& request) {
  if (CSerializer* const serializer = m_serializer) {
    switch (request.kind) {
      case Request::kFolder:
        serializer->WriteFolder(request.path, request.firstFlag, request.secondFlag);
        break;
      case Request::kAnalysisFolder:
        serializer->WriteAnalysisFolder(request.path, request.firstFlag);
        break;
      case Request::kFile:
        serializer->WriteFile(request.path, request.firstFlag);
        break;
      case Request::kAnalysisFile:
        serializer->WriteAnalysisFile(request.path);
        break;
    }
  }
  if (IsFile(request)) {
    m_counters.droppedFiles.fetch_add(1);
    m_counters.scheduled.fetch_sub(1);
  } else {
    m_counters.droppedFolders.fetch_add(1);
  }
}

}  // namespace quill
