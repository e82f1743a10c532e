// SPDX-License-Identifier: GPL-3.0-or-later
// The life of the process: it stays in step with the application, and leaves when told or needed.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "decoder/decoder_test.h"
#include "decoder/link/watcher.h"

namespace quill {
namespace {

using test::Code;
using test::DecoderTest;
using test::Status;

// The exit status of a child that is about to end; -1 when it has not after a generous time.
int ExitStatus(pid_t child) {
  using std::chrono::steady_clock;
  const auto deadline = steady_clock::now() + std::chrono::seconds(15);
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class ProcessTest : public DecoderTest {
 protected:
  uint32_t Reply(uint32_t command) {
    uint32_t word = 0;
    uint32_t status = ~0u;
    EXPECT_TRUE(m_link.ReadCmd(&word));
    EXPECT_EQ(word, command);
    EXPECT_TRUE(m_link.ReadWord(&status));
    return status;
  }
  static uint32_t Word(Status status) { return static_cast<uint32_t>(status); }
};

TEST_F(ProcessTest, StaysInStepThroughCommandsItRefuses) {
  ASSERT_TRUE(m_link.Reinit());
  for (uint32_t command : {wire::kAudioClose, wire::kAudioInfo, wire::kAudioData, wire::kImageClose,
                           wire::kImageInfo, wire::kImageData}) {
    ASSERT_TRUE(m_link.WriteWord(command));
    EXPECT_EQ(Reply(command), Word(Status::kNothingOpen)) << command;
  }
  const std::string path = Track();
  ASSERT_TRUE(m_link.WriteWord(wire::kImageOpen) && m_link.Write(path) && m_link.WriteWord(0));
  EXPECT_NE(Reply(wire::kImageOpen), 0u);
  const std::string text = m_folder / "text.mp3";
  test::WriteAll(text, "no sound");
  ASSERT_TRUE(m_link.WriteWord(wire::kTagsRead) && m_link.Write(text) && m_link.WriteWord(0));
  EXPECT_NE(Reply(wire::kTagsRead), 0u);
  for (uint32_t mask = 0; mask < 128; ++mask) {
    ASSERT_TRUE(m_link.WriteWord(wire::kTagsWrite) && m_link.Write(text) && m_link.WriteWord(0) &&
                m_link.WriteWord(mask));
    for (uint32_t bit : {1, 2, 4, 64, 32})
      ASSERT_TRUE((mask & bit) == 0 || m_link.Write("text of a field"));
    for (uint32_t bit : {8, 16}) ASSERT_TRUE((mask & bit) == 0 || m_link.WriteWord(1999));
    EXPECT_NE(Reply(wire::kTagsWrite), 0u) << mask;
  }
  EXPECT_EQ(Decode(path).Frames(), 44100u);
}

TEST_F(ProcessTest, AsksForItsMappingAgainAfterAPurge) {
  const std::string path = Track();
  EXPECT_EQ(Decode(path).Frames(), 44100u);
  ASSERT_TRUE(m_link.WriteWord(wire::kPurge));
  EXPECT_EQ(Reply(wire::kPurge), 0u);
  EXPECT_EQ(Decode(path).Frames(), 44100u);
}

// Whoever opens the next file without closing the last gets the next one.
TEST_F(ProcessTest, AnOpenEndsTheFileBefore) {
  const std::string path = Track();
  ASSERT_EQ(m_decoder.Open(path, 0), kDecodeOk);
  const uint8_t* block = nullptr;
  uint32_t size = 0;
  ASSERT_EQ(m_decoder.GetData(&block, &size), kDecodeOk);
  EXPECT_EQ(Decode(path).Frames(), 44100u);
  EXPECT_EQ(m_decoder.Open(m_folder / "missing", 0), Code(Status::kCannotRead));
  EXPECT_EQ(m_decoder.GetData(&block, &size), Code(Status::kNothingOpen));
}

TEST_F(ProcessTest, LeavesWhenThePipeCloses) {
  ASSERT_TRUE(m_link.Reinit());
  const pid_t child = m_link.ChildId();
  m_link.Release();
  EXPECT_EQ(ExitStatus(child), 0);
}

// A codec may be caught in a damaged file for minutes; nobody waits for it once the pipe is closed.
TEST(WatcherTest, EndsABusyProcess) {
  for (int closed : {0, 1}) {
    int commands[2];
    int replies[2];
    ASSERT_EQ(pipe(commands), 0);
    ASSERT_EQ(pipe(replies), 0);
    const pid_t child = fork();
    if (child == 0) {
      close(commands[1]);
      close(replies[0]);
      decoder::StartWatcher(commands[0], replies[1]);
      while (true) std::this_thread::yield();
    }
    close(commands[0]);
    close(replies[1]);
    close(closed == 0 ? commands[1] : replies[0]);
    EXPECT_EQ(ExitStatus(child), 0) << closed;
    close(closed == 0 ? replies[0] : commands[1]);
  }
}

TEST_F(ProcessTest, TellsACrashByItsStatus) {
  for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
    ASSERT_EQ(m_decoder.Open(Track(), 0), kDecodeOk);
    const pid_t child = m_link.ChildId();
    ASSERT_EQ(kill(child, fault), 0);
    EXPECT_EQ(ExitStatus(child), wire::kExitCrashed) << fault;
    m_link.Release();
  }
}

TEST_F(ProcessTest, LeavesOnWordsItDoesNotKnow) {
  ASSERT_TRUE(m_link.Reinit());
  const pid_t child = m_link.ChildId();
  ASSERT_TRUE(m_link.WriteWord(4711));
  EXPECT_EQ(ExitStatus(child), 1);
}

}  // namespace
}  // namespace quill
