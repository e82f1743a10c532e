// SPDX-License-Identifier: GPL-3.0-or-later
#include "workers/workers.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <mutex>
#include <random>
#include <semaphore>
#include <thread>
#include <vector>

#include "core/kernel_interface.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using Request = CWorkers::Request;

// Waits for what other threads are bound to do; the test program's time limit ends a wait for what
// never comes. Sleeps between looks: the workers have the lowest priority and a spinning thread
// would starve them.
template <class Condition>
void Await(Condition condition) {
  while (!condition()) std::this_thread::sleep_for(std::chrono::microseconds(100));
}

// Gives the workers a chance to do what they must not do.
void LetOthersRun() {
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

class CFakeEngines : public CFileEngines {
 public:
  using Process = std::function<bool(const std::string&, uint8_t, bool)>;

  CFakeEngines(const Process& process, std::atomic<int>& live) : m_process(process), m_live(live) {
    ++m_live;
  }
  ~CFakeEngines() override { --m_live; }
  bool ProcessFile(const std::string& path, uint8_t group, bool analysis) override {
    return m_process(path, group, analysis);
  }

 private:
  const Process& m_process;
  std::atomic<int>& m_live;
};

class WorkersTest : public testing::Test {
 protected:
  WorkersTest()
      : m_pool(m_counters, [this] { return std::make_unique<CFakeEngines>(m_process, m_live); }) {
    m_pool.m_callback = [this] { ++m_edges; };
  }

  // Each file announces itself and then waits for a permit.
  void HoldFiles() {
    m_process = [this](const std::string&, uint8_t, bool) {
      ++m_started;
      m_permits.acquire();
      return true;
    };
  }

  void QueueFiles(int count) {
    for (int i = 0; i < count; ++i) m_pool.Requeue(Request::kFile, "/file", 0, 0);
  }

  void ExpectIdle(int files) {
    EXPECT_EQ(m_pool.Pending(), 0u);
    EXPECT_TRUE(m_pool.IsRunning());
    EXPECT_FALSE(m_pool.IsStopping());
    EXPECT_EQ(m_counters.processed, files);
    EXPECT_EQ(m_counters.scheduled, files);
  }

  CScanCounters m_counters;
  std::atomic<int> m_live{0};  // engines
  std::atomic<int> m_edges{0};
  std::atomic<int> m_started{0};
  std::counting_semaphore<> m_permits{0};
  CFakeEngines::Process m_process = [this](const std::string&, uint8_t, bool) {
    ++m_started;
    return true;
  };
  CWorkers m_pool;  // last: its threads use all the others
};

TEST_F(WorkersTest, HandsRequestsOverAndCountsWhatWasTaken) {
  std::mutex mutex;
  std::vector<std::string> seen;
  m_process = [&](const std::string& path, uint8_t group, bool analysis) {
    const std::lock_guard lock(mutex);
    seen.push_back(path + " " + std::to_string(group) + (analysis ? " analysis" : ""));
    return path.ends_with(".wav");
  };
  EXPECT_TRUE(m_pool.SetThreadCount(1));
  EXPECT_FALSE(m_pool.QueueRequest(nullptr));
  m_pool.Pause();  // ended by the start edge
  m_pool.Requeue(Request::kFile, "/a.wav", 3, 0);
  m_pool.Requeue(Request::kFile, "/b.txt", 4, 9);
  m_pool.Requeue(Request::kAnalysisFile, "/c.wav", 5, 6);
  m_pool.Requeue(Request::kAnalysisFile, "/d.txt", 0, 0);
  Await([&] { return m_pool.Pending() == 0; });
  EXPECT_EQ(seen, (std::vector<std::string>{"/a.wav 3", "/b.txt 4", "/c.wav 0 analysis",
                                            "/d.txt 0 analysis"}));
  EXPECT_EQ(m_counters.processed, 2);
  EXPECT_EQ(m_counters.scheduled, 2);
}

TEST_F(WorkersTest, CallbackComesOnBothEdgesOfEachBatch) {
  HoldFiles();
  m_pool.SetThreadCount(3);
  for (int batch = 1; batch <= 20; ++batch) {
    QueueFiles(1);
    EXPECT_EQ(m_edges, 2 * batch - 1);
    QueueFiles(batch);  // pending stays above 0
    EXPECT_EQ(m_edges, 2 * batch - 1);
    m_permits.release(batch + 1);
    Await([&] { return m_edges == 2 * batch; });
  }
  ExpectIdle(20 + 210);
}

TEST_F(WorkersTest, ThreadsGiveWayAndTheirMakerDoesNot) {
  struct Priority {
    int policy, nice;
    long io;
    std::string name;
  };
  const auto priority = [] {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return Priority{sched_getscheduler(0), getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())),
                    syscall(SYS_ioprio_get, kernel::kIoPriorityOfProcess, 0), name};
  };
  const Priority before = priority();
  std::promise<Priority> worker;
  m_process = [&](const std::string&, uint8_t, bool) {
    worker.set_value(priority());
    return true;
  };
  m_pool.SetThreadCount(1);
  QueueFiles(1);
  const Priority got = worker.get_future().get();
  EXPECT_EQ(got.policy, SCHED_BATCH);
  EXPECT_EQ(got.nice, 19);
  if (before.io != -1) {
    EXPECT_EQ(got.io >> kernel::kIoClassShift, kernel::kIoClassIdle);
  }
  EXPECT_EQ(got.name, "scan worker");
  const Priority after = priority();
  EXPECT_EQ(after.policy, before.policy);
  EXPECT_EQ(after.nice, before.nice);
  EXPECT_EQ(after.io, before.io);
}

TEST_F(WorkersTest, PauseHoldsTakenRequestsAtTheGate) {
  HoldFiles();
  m_pool.SetThreadCount(2);
  QueueFiles(10);
  Await([&] { return m_started == 2; });
  m_pool.Pause();
  m_permits.release(10);  // files in progress finish, the next two are taken and held
  Await([&] { return m_pool.Queued() == 6; });
  LetOthersRun();
  EXPECT_FALSE(m_pool.IsRunning());
  EXPECT_EQ(m_pool.Queued(), 6u);
  EXPECT_EQ(m_pool.Pending(), 8u);
  EXPECT_EQ(m_counters.processed, 2);
  m_pool.Continue();
  Await([&] { return m_edges == 2; });
  ExpectIdle(10);
}

TEST_F(WorkersTest, StopInMidScanDrainsWithoutRunning) {
  HoldFiles();
  m_pool.SetThreadCount(2);
  QueueFiles(50);
  Await([&] { return m_started == 2; });
  m_pool.Stop();
  EXPECT_TRUE(m_pool.IsStopping());
  m_permits.release(2);
  Await([&] { return m_edges == 2; });
  EXPECT_EQ(m_started, 2);
  ExpectIdle(2);
  EXPECT_EQ(m_counters.droppedFiles, 48);
  EXPECT_EQ(m_counters.droppedFolders, 0);

  // The stop has ended itself: the next batch runs.
  QueueFiles(5);
  EXPECT_EQ(m_counters.droppedFiles, 0);
  m_permits.release(5);
  Await([&] { return m_edges == 4; });
  ExpectIdle(7);
}

TEST_F(WorkersTest, StopWhilePausedDrainsWithoutRunning) {
  m_pool.SetThreadCount(2);
  // No thread gets past the gate: the pause comes before the first request can be taken.
  m_pool.m_callback = [&] {
    if (++m_edges == 1) m_pool.Pause();
  };
  QueueFiles(20);
  Await([&] { return m_pool.Queued() == 18; });
  m_pool.Stop();
  Await([&] { return m_edges == 2; });
  EXPECT_EQ(m_started, 0);
  ExpectIdle(0);
}

TEST_F(WorkersTest, StopDropsTheLastRequestsThatAPauseHolds) {
  m_pool.SetThreadCount(2);
  m_pool.m_callback = [&] {
    if (++m_edges == 1) m_pool.Pause();
  };
  QueueFiles(2);
  Await([&] { return m_pool.Queued() == 0; });
  m_pool.Stop();
  Await([&] { return m_edges == 2; });
  EXPECT_EQ(m_started, 0);
  ExpectIdle(0);

  // With nothing pending it holds for nobody: what comes next runs.
  m_pool.Stop();
  EXPECT_FALSE(m_pool.IsStopping());
  QueueFiles(3);
  Await([&] { return m_edges == 4; });
  ExpectIdle(3);
}

// What a folder in the middle of its listing queues after the stop must not run.
TEST_F(WorkersTest, StopHoldsForWhatARequestInExecutionQueues) {
  m_process = [this](const std::string&, uint8_t, bool) {
    if (++m_started != 1) return true;
    m_permits.acquire();
    QueueFiles(3);
    return true;
  };
  m_pool.SetThreadCount(1);
  QueueFiles(1);
  Await([&] { return m_started == 1; });
  m_pool.Stop();
  EXPECT_TRUE(m_pool.IsStopping());
  m_permits.release();
  Await([&] { return m_edges == 2; });
  EXPECT_EQ(m_started, 1);
  ExpectIdle(1);
}

TEST_F(WorkersTest, ThreadCountIsCappedAndAutomaticAtZero) {
  EXPECT_TRUE(m_pool.SetThreadCount(1000));
  EXPECT_EQ(m_pool.ThreadCount(), 32u);
  Await([&] { return m_live == 32; });
  CWorkers automatic(m_counters, [] { return nullptr; });
  EXPECT_TRUE(automatic.SetThreadCount(0));
  EXPECT_EQ(automatic.ThreadCount(), std::min(32L, sysconf(_SC_NPROCESSORS_ONLN)));

  // Threads without engines take no file and lose none.
  for (int i = 0; i < 10; ++i) automatic.Requeue(Request::kFile, "/file", 0, 0);
  Await([&] { return automatic.Pending() == 0; });
  EXPECT_EQ(m_counters.scheduled, 0);
}

TEST_F(WorkersTest, ThreadCountChangesInMidScan) {
  HoldFiles();
  m_pool.SetThreadCount(2);
  QueueFiles(30);
  Await([&] { return m_started == 2; });
  m_pool.SetThreadCount(5);
  Await([&] { return m_started == 5; });

  // The poison lies before the waiting files: one more file ends for each thread that goes.
  for (uint32_t threads = 4; threads >= 1; --threads) {
    auto removal = std::async(std::launch::async, [&] { m_pool.SetThreadCount(threads); });
    Await([&] { return m_pool.Queued() == 26; });
    m_permits.release();
    removal.get();
    EXPECT_EQ(m_pool.ThreadCount(), threads);
    EXPECT_EQ(m_live, static_cast<int>(threads));
    EXPECT_EQ(m_counters.processed, static_cast<int>(5 - threads));
  }
  m_permits.release(26);
  Await([&] { return m_edges == 2; });
  ExpectIdle(30);
}

TEST_F(WorkersTest, RemovingThreadsEndsAPause) {
  m_pool.SetThreadCount(3);
  m_pool.m_callback = [&] {
    if (++m_edges == 1) m_pool.Pause();
  };
  QueueFiles(10);
  Await([&] { return m_pool.Queued() == 7; });
  m_pool.SetThreadCount(4);
  EXPECT_FALSE(m_pool.IsRunning());
  m_pool.SetThreadCount(2);
  EXPECT_TRUE(m_pool.IsRunning());
  Await([&] { return m_edges == 2; });
  ExpectIdle(10);
}

TEST_F(WorkersTest, ShutdownFinishesWhatRunsAndDropsTheRest) {
  HoldFiles();
  m_pool.SetThreadCount(3);
  QueueFiles(40);
  Await([&] { return m_started == 3; });
  auto shutdown = std::async(std::launch::async, [&] { m_pool.Shutdown(nullptr); });
  Await([&] { return m_pool.Queued() == 40; });  // 37 files and one poison a thread
  m_permits.release(3);
  shutdown.get();
  EXPECT_EQ(m_pool.ThreadCount(), 0u);
  EXPECT_EQ(m_live, 0);
  EXPECT_EQ(m_edges, 2);
  ExpectIdle(3);
  QueueFiles(4);  // left to the destructor
  EXPECT_EQ(m_pool.Queued(), 4u);
}

// What the stream gives back.
class CCollectedWork : public CPendingWorkQueue {
 public:
  void Requeue(uint32_t kind, std::string path, uint8_t firstFlag, uint8_t secondFlag) override {
    requests.push_back(path + " " + std::to_string(kind) + " " + std::to_string(firstFlag) + " " +
                       std::to_string(secondFlag));
  }
  std::vector<std::string> requests;
};

TEST_F(WorkersTest, ShutdownWritesQueuedWorkToTheStream) {
  const test::CTempFolder folder;
  CPendingWorkStore store;
  ASSERT_TRUE(store.Open(folder / "pending"));
  HoldFiles();
  m_pool.SetThreadCount(1);
  m_pool.Requeue(Request::kFile, "/running", 1, 0);
  Await([&] { return m_started == 1; });
  m_pool.Requeue(Request::kFolder, "/folder", 2, 1);
  m_pool.Requeue(Request::kFile, "/file", 3, 0);
  m_pool.Requeue(Request::kAnalysisFolder, "/analysis", 1, 0);
  m_pool.Requeue(Request::kAnalysisFile, "/analysis file", 0, 0);
  CSerializer serializer(store, m_pool, nullptr, nullptr);
  auto written = std::async(std::launch::async, [&] { return serializer.InnerProcess(); });
  Await([&] { return m_pool.Queued() == 5; });
  // As a folder in the middle of its listing does: behind the poison.
  m_pool.Requeue(Request::kFile, "/late", 4, 0);
  m_permits.release();
  ASSERT_TRUE(written.get());
  ExpectIdle(1);

  CCollectedWork work;
  CSerializerReader reader(store, work, nullptr, nullptr);
  ASSERT_TRUE(reader.InnerProcess());
  EXPECT_EQ(work.requests,
            (std::vector<std::string>{"/folder 0 2 1", "/file 1 3 0", "/analysis 2 1 0",
                                      "/analysis file 3 0 0", "/late 1 4 0"}));
}

TEST_F(WorkersTest, ShutdownOutOfAPauseWritesEachHeldRequestOnce) {
  const test::CTempFolder folder;
  CPendingWorkStore store;
  ASSERT_TRUE(store.Open(folder / "pending"));
  m_pool.SetThreadCount(2);
  m_pool.m_callback = [&] {
    if (++m_edges == 1) m_pool.Pause();
  };
  m_pool.Requeue(Request::kFile, "/a", 0, 0);
  m_pool.Requeue(Request::kFile, "/b", 0, 0);
  Await([&] { return m_pool.Queued() == 0; });
  CSerializer serializer(store, m_pool, nullptr, nullptr);
  ASSERT_TRUE(serializer.InnerProcess());
  EXPECT_EQ(m_started, 0);

  CCollectedWork work;
  CSerializerReader reader(store, work, nullptr, nullptr);
  ASSERT_TRUE(reader.InnerProcess());
  std::sort(work.requests.begin(), work.requests.end());
  EXPECT_EQ(work.requests, (std::vector<std::string>{"/a 1 0 0", "/b 1 0 0"}));
}

// Whatever the main thread does while requests arrive, the totals agree with what was finished and
// no thread or request gets lost.
TEST_F(WorkersTest, RandomControlNeverLosesARequest) {
  const test::CTempFolder folder;
  for (int i = 0; i < 20; ++i) test::WriteAll(folder / ("sub/" + std::to_string(i)), "");
  std::atomic<int> taken{0};
  m_process = [&](const std::string& path, uint8_t, bool) {
    const bool counts = (path.back() & 1) != 0;
    if (counts) ++taken;
    return counts;
  };
  std::mt19937 random(20);
  m_pool.SetThreadCount(2);
  for (int round = 0; round < 5; ++round) {
    std::atomic<bool> queueing{true};
    std::thread producer([&, seed = static_cast<uint32_t>(random())] {
      std::mt19937 choice(seed);
      while (queueing) {
        const uint32_t kind = choice() % 4;  // any kind of request
        const bool isFolder = kind == Request::kFolder || kind == Request::kAnalysisFolder;
        std::string file = "/file";
        file.push_back(static_cast<char>('0' + choice() % 10));
        m_pool.Requeue(kind, isFolder ? folder.Path() : file, 0, 0);
        while (queueing && m_pool.Queued() > 500) std::this_thread::yield();
      }
    });
    for (int step = 1; step <= 600; ++step) {
      const uint32_t action = random() % 8;
      if (step % 200 == 0)
        m_pool.SetThreadCount(1 + random() % 5);
      else if (action == 0)
        m_pool.Stop();
      else if (action < 4)
        m_pool.Pause();
      else
        m_pool.Continue();
      for (uint32_t i = random() % 32; i > 0; --i) std::this_thread::yield();
    }
    queueing = false;
    producer.join();
    Await([&] {
      m_pool.Continue();
      return m_pool.Pending() == 0 && m_edges % 2 == 0;
    });
    ASSERT_EQ(m_pool.Queued(), 0u);
    ASSERT_FALSE(m_pool.IsStopping());
    ASSERT_EQ(m_counters.processed, taken);
    ASSERT_EQ(m_counters.scheduled, taken);
  }
  EXPECT_GT(taken, 0);
  Await([&] { return m_live == static_cast<int>(m_pool.ThreadCount()); });
}

}  // namespace
}  // namespace quill
