// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qt_main_queue.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <algorithm>
#include <thread>
#include <vector>

namespace quill {
namespace {

// Blocks from several threads, and blocks posted by blocks, all run on the main thread, each
// thread's in its order.
TEST(QtMainQueue, RunsEverythingOnTheMainThreadInOrder) {
  int argc = 0;
  QCoreApplication application(argc, nullptr);
  CQtMainQueue queue;
  constexpr int kThreads = 4;
  constexpr int kBlocks = 2000;
  std::vector<std::vector<int>> seen(kThreads);
  const std::thread::id main = std::this_thread::get_id();
  int left = kThreads * kBlocks;
  bool elsewhere = false;
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < kBlocks; ++i)
        queue.Post([&, t, i] {
          elsewhere = elsewhere || std::this_thread::get_id() != main;
          seen[static_cast<size_t>(t)].push_back(i);
          if (--left == 0) queue.Post([] { QCoreApplication::exit(7); });
        });
    });
  EXPECT_EQ(QCoreApplication::exec(), 7);
  threads.clear();
  EXPECT_FALSE(elsewhere);
  for (const std::vector<int>& order : seen) {
    ASSERT_EQ(order.size(), static_cast<size_t>(kBlocks));
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  }
}

}  // namespace
}  // namespace quill
