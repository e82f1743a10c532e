// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/log.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <sstream>
#include <thread>
#include <vector>

#include "core/system_error.h"
#include "support/process_log.h"

namespace quill {
namespace {

namespace fs = std::filesystem;
using test::CTempFolder;
using test::ReadAll;

constexpr std::time_t kMarch8 = 1772971200;  // 2026-03-08 12:00:00 UTC
constexpr std::time_t kDay = 86400;
constexpr size_t kStamp = 20;
constexpr size_t kBlock = 65536;

std::atomic<std::time_t> g_now{kMarch8};
std::time_t Now() {
  return g_now;
}

// What the log holds at present, without the zeros that lie behind the text while it is open.
std::string TextOf(const std::string& path) {
  std::string text = ReadAll(path);
  text.erase(text.find_last_not_of('\0') + 1);
  return text;
}

std::string Line(const std::string& text) {
  return "2026-03-08 12:00:00\t" + text + "\r\n";
}

struct COpenLog : CLog {
  explicit COpenLog(const std::string& folder) : CLog(&Now) { SetFolder(folder); }
};

class LogTest : public testing::Test {
 protected:
  LogTest() { g_now = kMarch8; }

  CTempFolder m_folder;
  const std::string m_file = m_folder / "2026-03-08.log";
};

TEST_F(LogTest, RestartOnTheSameDayGoesOnBehindTheText) {
  for (const bool crash : {false, true}) {
    for (const size_t length :
         {size_t{100}, kBlock - 1, kBlock, kBlock + 1, 2 * kBlock, 2 * kBlock + 7}) {
      SCOPED_TRACE(testing::Message() << "crash " << crash << ", length " << length);
      const CTempFolder folder;
      const std::string file = folder / "2026-03-08.log";
      const std::string text(length - kStamp - 2, 'x');
      if (fork() == 0) {
        COpenLog log(folder.Path());
        log.Line(text);
        if (!crash) log.SetFolder({});
        _exit(0);
      }
      wait(nullptr);
      const size_t blocks = (length + kBlock - 1) / kBlock;
      ASSERT_EQ(fs::file_size(file), crash ? blocks * kBlock : length);
      COpenLog(folder.Path()).Line("after");
      EXPECT_TRUE(ReadAll(file) == Line(text) + Line("after"));
    }
  }
}

TEST_F(LogTest, ChangeOfTheDayOfMonthSwitchesTheFile) {
  COpenLog log(m_folder.Path() + "/");
  g_now = kMarch8 + kDay / 2 - 1;
  log.Line("before midnight");
  g_now = kMarch8 + kDay / 2;
  log.Line("after midnight");
  EXPECT_EQ(ReadAll(m_file), "2026-03-08 23:59:59\tbefore midnight\r\n");
  EXPECT_EQ(TextOf(m_folder / "2026-03-09.log"), "2026-03-09 00:00:00\tafter midnight\r\n");

  // The day of the month alone decides.
  g_now = kMarch8 + kDay / 2 + 31 * kDay;
  log.Line("a month later");
  EXPECT_EQ(TextOf(m_folder / "2026-03-09.log"),
            "2026-03-09 00:00:00\tafter midnight\r\n2026-04-09 00:00:00\ta month later\r\n");
  EXPECT_FALSE(fs::exists(m_folder / "2026-04-09.log"));
}

TEST_F(LogTest, SanitizedTextStaysOneLine) {
  COpenLog log(m_folder.Path());
  std::string expected;
  for (const size_t length : {1, 2047, 2048, 2049, 4096, 4097}) {
    std::string text(length, 'a');
    std::string clean = text;
    // Around each border of the blocks, where a break could slip through.
    for (const size_t at : {0, 2046, 2047, 2048, 2049, 4095, 4096}) {
      if (at >= length) continue;
      text[at] = "\t\n\r"[at % 3];
      clean[at] = ' ';
    }
    log.Line(text);
    expected += Line(clean);
  }
  CLogLine(log, false).Append("one\ttwo\nthree").Append(static_cast<const char*>(nullptr));
  expected += Line("one\ttwo\nthree");
  EXPECT_TRUE(TextOf(m_file) == expected);
}

TEST_F(LogTest, MissingFolderLosesTheTextOnly) {
  COpenLog log(m_folder / "absent/logs");
  log.Line("lost");
  fs::create_directory(m_folder / "absent");
  const mode_t mask = umask(0);
  log.Line("kept");
  umask(mask);
  EXPECT_EQ(TextOf(m_folder / "absent/logs/2026-03-08.log"), Line("kept"));
  EXPECT_EQ(fs::status(m_folder / "absent/logs").permissions(), fs::perms(0777));
  EXPECT_EQ(fs::status(m_folder / "absent/logs/2026-03-08.log").permissions(), fs::perms(0664));
}

TEST_F(LogTest, FileThatCannotGrowLosesTextUntilItCan) {
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  COpenLog log(m_folder.Path());
  const rlimit small{kBlock, old.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  std::string expected;
  for (int i = 0; i < 100; ++i) {
    const std::string text(1000, static_cast<char>('A' + i % 26));
    log.Line(text);
    expected += Line(text);
  }
  setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, handler);

  expected.resize(kBlock);
  EXPECT_TRUE(ReadAll(m_file) == expected);
  log.Line("room again");
  EXPECT_TRUE(TextOf(m_file) == expected + Line("room again"));
}

TEST_F(LogTest, SecondLogOfTheSameFileIsKeptOut) {
  CLog second(&Now);
  {
    COpenLog first(m_folder.Path());
    second.SetFolder(m_folder.Path());
    first.Line("one");
    second.Line("lost");
    first.Line("two");
  }
  second.Line("three");
  EXPECT_EQ(TextOf(m_file), Line("one") + Line("two") + Line("three"));
}

TEST_F(LogTest, LinesOfManyThreadsNeverMix) {
  constexpr int kThreads = 8, kLines = 400;
  {
    COpenLog log(m_folder.Path());
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&log, t] {
        for (int i = 0; i < kLines; ++i) {
          CLogLine line(log);
          line.AppendInteger(t).Append(" ").AppendInteger(i).Append(" ");
          line.Append(std::string(static_cast<size_t>(i % 97), static_cast<char>('a' + t)));
        }
      });
    }
    for (auto& thread : threads) thread.join();
  }
  std::istringstream text(ReadAll(m_file));
  int next[kThreads] = {}, count = 0;
  for (std::string line; std::getline(text, line); ++count) {
    int t = -1;
    ASSERT_EQ(std::sscanf(line.c_str(), "2026-03-08 12:00:00\t%d", &t), 1) << line;
    const int i = next[t]++;
    const std::string tail(static_cast<size_t>(i % 97), static_cast<char>('a' + t));
    ASSERT_EQ(line + "\n", Line(std::to_string(t) + " " + std::to_string(i) + " " + tail));
  }
  EXPECT_EQ(count, kThreads * kLines);
}

TEST(SystemErrorTest, ReportIsHintAndFact) {
  const test::CProcessLog log;
  errno = ENOENT;
  EXPECT_FALSE(CSystemError::Bool("Open", 104, false));
  EXPECT_EQ(errno, ENOENT);
  errno = 0;
  EXPECT_TRUE(CSystemError::Bool("a\nb\tc", 1, true));
  CSystemError::Plain(nullptr, 7);
  EXPECT_EQ(CSystemError::Integer("Size", -3, INT32_MIN), INT32_MIN);
  EXPECT_EQ(CSystemError::Float("Draw", 9, -0.5f), -0.5f);
  // What calls of the log itself leave in errno is no hint: its folder exists, so mkdir fails.
  CLog::Instance().SetFolder(log.Folder() + "/absent/logs");
  CSystemError::Plain("Lost", 2);
  CLog::Instance().SetFolder(log.Folder());
  CSystemError::Plain("Last", 3);
  EXPECT_EQ(log.Lines(),
            (std::vector<std::string>{"System error [2]: No such file or directory",
                                      "Open:104 failed [false]", "a b c:1 failed [true]",
                                      "UNKNOWN:7 failed []", "Size:-3 failed [-2147483648]",
                                      "Draw:9 failed [-0.500000]", "Last:3 failed []"}));
}

}  // namespace
}  // namespace quill
