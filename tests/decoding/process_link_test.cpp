// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/process_link.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <thread>
#include <vector>

#include "decoding/link_test.h"

namespace quill {
namespace {

using test::CTempFolder;
using test::Lines;
using test::LinkTest;

constexpr const char* kCrashed = "Decoder process is crashed";
constexpr const char* kShutdown = "Decoder process is forcifully shutdown";
constexpr const char* kHang = "Decoder process is hang up";
constexpr const char* kOutOfStep = "Decoder process answers out of step";

size_t OpenDescriptors() {
  const std::filesystem::directory_iterator folder("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(folder), end(folder)));
}

// Waits for the end of a child and leaves it to be collected, if that has not happened yet.
void AwaitEnd(pid_t child) {
  siginfo_t info{};
  while (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
}

// Sets a limit of this process for the length of a scope.
class CLimit {
 public:
  CLimit(__rlimit_resource kind, rlim_t soft) : m_kind(kind) {
    getrlimit(kind, &m_before);
    const rlimit limit{.rlim_cur = soft, .rlim_max = m_before.rlim_max};
    EXPECT_EQ(setrlimit(kind, &limit), 0);
  }
  ~CLimit() { setrlimit(m_kind, &m_before); }

 private:
  const __rlimit_resource m_kind;
  rlimit m_before{};
};

// The variable "TMPDIR" for the length of a scope.
class CTemporaryFolderVariable {
 public:
  explicit CTemporaryFolderVariable(const std::string& folder) {
    const char* const before = std::getenv("TMPDIR");
    m_before = before ? before : "";
    setenv("TMPDIR", folder.c_str(), 1);
  }
  ~CTemporaryFolderVariable() {
    if (m_before.empty())
      unsetenv("TMPDIR");
    else
      setenv("TMPDIR", m_before.c_str(), 1);
  }

 private:
  std::string m_before;
};

class ProcessLinkTest : public LinkTest {
 protected:
  int32_t Open(CProcessLink& link, const std::string& path) {
    return CAudioDecoder(link).Open(path, 0);
  }

  CProcessLink m_link{m_table, FAKE_DECODER};
};

TEST_F(ProcessLinkTest, ChildGetsTheHandshakeAndNothingElse) {
  // An inheritable descriptor of somebody else, and another link's.
  const int stray = open("/dev/null", O_RDONLY);
  CProcessLink other(m_table, FAKE_DECODER);
  ASSERT_TRUE(other.Reinit());
  EXPECT_EQ(Open(m_link, Opened({"open table", "open inherited"})), 0);
  close(stray);
  EXPECT_EQ(Messages(), (Lines{"table 3 30000 6, 5 1 fla flac, 8 1 ogg oga, 6 1 ape, 9 1 wv wvc, "
                               "7 1 mpc mpp mp+, 11 1 *",
                               "2 arguments, 0 variables, non-blocking, 1 more descriptors"}));
}

TEST_F(ProcessLinkTest, TableChangeReplacesTheChildAtTheNextOpenOnly) {
  CProcessLink idle(m_table, FAKE_DECODER);
  ASSERT_TRUE(idle.Reinit());
  CAudioDecoder client(m_link);
  ASSERT_EQ(client.Open(Opened({"data status 5", "data status 6"}), 0), 0);
  const pid_t first = m_link.ChildId();
  const pid_t firstIdle = idle.ChildId();
  const uint8_t* block = nullptr;
  uint32_t size = 0;
  EXPECT_EQ(client.GetData(&block, &size), 5);

  m_table.Reload();
  EXPECT_TRUE(m_link.Reinit());
  EXPECT_EQ(m_link.ChildId(), first);

  ChangeTable("changed");
  EXPECT_EQ(client.GetData(&block, &size), 6);
  EXPECT_EQ(client.Close(), 0);
  EXPECT_EQ(m_link.ChildId(), first);
  EXPECT_EQ(Open(m_link, Opened({})), 0);
  EXPECT_NE(m_link.ChildId(), first);
  EXPECT_EQ(idle.ChildId(), firstIdle);
}

TEST_F(ProcessLinkTest, BadHandshakeFailsAndCostsTheChild) {
  const struct {
    const char* verb;
    const char* message;
  } kCases[] = {{"handshake status 7", "Decoder process refuses the handshake"},
                {"handshake id 2", kOutOfStep}};
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.verb);
    ChangeTable(each.verb);
    for (int i = 0; i < 2; ++i) {  // no child without the table is taken for a live one
      EXPECT_FALSE(m_link.Reinit());
      EXPECT_FALSE(m_link.IsOpen());
      const auto logged = TakeLog();
      EXPECT_EQ(logged.messages, Lines{each.message});
      EXPECT_EQ(logged.reports, "Reinit ");
    }
  }
  ChangeTable("handshake exit 11");
  EXPECT_FALSE(m_link.Reinit());
  EXPECT_FALSE(m_link.IsOpen());
  EXPECT_EQ(Messages(), Lines{kCrashed});
}

TEST_F(ProcessLinkTest, EachEndOfTheChildIsToldApart) {
  const struct {
    const char* verb;
    Lines messages;
  } kCases[] = {{"exit 11", {kCrashed}}, {"exit 10", {}},         {"exit 0", {kShutdown}},
                {"exit 1", {kShutdown}}, {"exit 266", {}},  // the kernel keeps eight bits: 10
                {"kill 9", {kShutdown}}, {"kill 15", {kShutdown}}};
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.verb);
    CAudioDecoder client(m_link);
    ASSERT_EQ(client.Open(Opened({std::string("data ") + each.verb}), 0), 0);
    const uint8_t* block = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(client.GetData(&block, &size), kDecodeLinkFailed);
    EXPECT_FALSE(m_link.IsOpen());
    EXPECT_EQ(m_link.ChildId(), -1);
    EXPECT_EQ(m_link.MapSize(), 0U);
    EXPECT_EQ(Messages(), each.messages);
  }
  EXPECT_EQ(Open(m_link, Opened({})), 0);
}

TEST_F(ProcessLinkTest, DeathWithACoreFileIsACrash) {
  // Whether a core file can be written is this machine's affair: the same death without a link
  // shows it.
  const pid_t plain = fork();
  if (plain == 0) {
    execl(FAKE_DECODER, "core", m_folder.Path().c_str(), nullptr);
    _exit(1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(plain, &status, 0), plain);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(Open(m_link, Script({"open core " + m_folder.Path()})), kDecodeLinkFailed);
  EXPECT_EQ(Messages(), Lines{WCOREDUMP(status) ? kCrashed : kShutdown});
}

// Whatever a child says too much, too little, too late or instead: no later request gets an answer
// that was meant for another.
TEST_F(ProcessLinkTest, ChildOutOfStepIsReplaced) {
  const struct {
    const char* lie;  // of the first data command, which has the answer 1001
    int32_t first;    // what the first two commands give
    int32_t second;
    const char* message;
  } kCases[] = {
      {"id 4", kDecodeLinkFailed, kDecodeBadArgument, kOutOfStep},
      {"id 0", kDecodeLinkFailed, kDecodeBadArgument, kOutOfStep},
      {"twice", 1001, kDecodeLinkFailed, kOutOfStep},
      {"extra 1", 1001, kDecodeLinkFailed, kOutOfStep},
      {"extra 4096", 1001, kDecodeLinkFailed, kOutOfStep},
      {"short 7", kDecodeLinkFailed, kDecodeBadArgument, kHang},
      {"late 2500", kDecodeLinkFailed, kDecodeBadArgument, kHang},
  };
  CProcessLink link(m_table, FAKE_DECODER, 1000);
  CAudioDecoder client(link);
  const uint8_t* block = nullptr;
  uint32_t size = 0;
  const std::string honest = Opened({"data status 2001"});
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.lie);
    const std::string lying = Opened(
        {std::string("data ") + each.lie, "data status 1001", "data status 1002", "data status 3"});
    ASSERT_EQ(client.Open(lying, 0), 0);
    const pid_t child = link.ChildId();
    EXPECT_EQ(client.GetData(&block, &size), each.first);
    EXPECT_EQ(client.GetData(&block, &size), each.second);
    ASSERT_FALSE(link.IsOpen());
    EXPECT_EQ(Messages(), Lines{each.message});
    AwaitEnd(child);
    ASSERT_EQ(client.Open(honest, 0), 0);
    EXPECT_EQ(client.GetData(&block, &size), 2001);
    if (each.first == kDecodeLinkFailed) continue;
    // An open that finds the lie goes to another child at once.
    ASSERT_EQ(client.Open(lying, 0), 0);
    EXPECT_EQ(client.GetData(&block, &size), each.first);
    ASSERT_EQ(client.Open(honest, 0), 0);
    EXPECT_EQ(client.GetData(&block, &size), 2001);
    EXPECT_EQ(Messages(), Lines{each.message});
  }
}

TEST_F(ProcessLinkTest, DeathAtAnyByteOfAReplyIsFound) {
  for (int bytes = 0; bytes < 20; ++bytes) {
    EXPECT_EQ(Open(m_link, Opened({"open cut " + std::to_string(bytes)})), kDecodeLinkFailed);
    EXPECT_EQ(Messages(), Lines{kCrashed}) << bytes << " bytes";
  }
}

TEST_F(ProcessLinkTest, OrderlyEndSendsTheCommandOnceMore) {
  EXPECT_EQ(Open(m_link, Opened({"open once " + (m_folder / "marker") + " exit 10"})), 0);
  const auto retried = TakeLog();
  EXPECT_EQ(retried.messages, Lines{});
  EXPECT_EQ(retried.reports, "");

  EXPECT_EQ(Open(m_link, Opened({"open exit 10"})), kDecodeLinkFailed);
  const auto failed = TakeLog();
  EXPECT_EQ(failed.messages, Lines{});
  EXPECT_EQ(failed.reports, "Open ");

  // Any other end is the file's fault, and the file is not tried again.
  EXPECT_EQ(Open(m_link, Opened({"open once " + (m_folder / "another") + " exit 11"})),
            kDecodeLinkFailed);
}

TEST_F(ProcessLinkTest, HangCutsTheChildOffAndNobodyStaysAZombie) {
  CProcessLink link(m_table, FAKE_DECODER, 1500);
  link.SetLogContext(0, "a file", "");
  const std::string left[] = {m_folder / "left_reading", m_folder / "left_writing"};
  ASSERT_TRUE(link.Reinit());
  const pid_t reading = link.ChildId();
  EXPECT_EQ(Open(link, Script({"open hang " + left[0]})), kDecodeLinkFailed);
  EXPECT_FALSE(link.IsOpen());
  AwaitEnd(reading);

  ASSERT_TRUE(link.Reinit());
  const pid_t writing = link.ChildId();
  const std::string path = Script({"open hang " + left[1]});
  ASSERT_TRUE(link.WriteWord(wire::kAudioOpen) && link.Write(std::string_view(path)) &&
              link.WriteWord(0));
  const std::vector<uint8_t> more(1 << 20);  // more than a pipe holds
  EXPECT_FALSE(link.Write(more.data(), more.size()));
  const auto logged = TakeLog();
  EXPECT_EQ(logged.messages, (Lines{std::string(kHang) + ", file: \"a file\"",
                                    std::string(kHang) + ", file: \"a file\""}));
  EXPECT_EQ(logged.reports, "Read Open Write ");

  AwaitEnd(writing);
  for (const std::string& marker : left) EXPECT_TRUE(std::filesystem::exists(marker)) << marker;
  ASSERT_TRUE(link.Reinit());
  for (const pid_t child : {reading, writing}) {
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
  }
}

// Its words end, but it does not: its end is not waited for any longer than a word.
TEST_F(ProcessLinkTest, ChildThatOnlyClosesItsPipesHangs) {
  CProcessLink link(m_table, FAKE_DECODER, 1000);
  ASSERT_TRUE(link.Reinit());
  const pid_t child = link.ChildId();
  EXPECT_EQ(Open(link, Script({"open linger 4000"})), kDecodeLinkFailed);
  EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0) << "still alive";
  EXPECT_EQ(Messages(), Lines{kHang});
  EXPECT_EQ(Open(link, Opened({})), 0);
}

TEST_F(ProcessLinkTest, TrickleIsNoHang) {
  CProcessLink link(m_table, FAKE_DECODER, 2000);
  EXPECT_EQ(Open(link, Script({"open trickle 300", "open status 33"})), 33);
  EXPECT_EQ(Messages(), Lines{});
}

TEST_F(ProcessLinkTest, MissingProgramFailsAtOnceAndCleanly) {
  CProcessLink link(m_table, m_folder / "no such program");
  const size_t before = OpenDescriptors();
  EXPECT_FALSE(link.Reinit());
  EXPECT_EQ(Messages(), Lines{kShutdown});
  EXPECT_FALSE(link.WriteWord(1));
  uint32_t word = 0;
  EXPECT_FALSE(link.ReadWord(&word));
  EXPECT_EQ(Reports(), "Write Read ");
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(ProcessLinkTest, LongestPathPassesAndOneByteMoreCostsTheChild) {
  EXPECT_EQ(Open(m_link, std::string(65365, 'p')), 404);
  EXPECT_TRUE(m_link.IsOpen());
  EXPECT_EQ(Open(m_link, std::string(65366, 'p')), kDecodeLinkFailed);
  EXPECT_FALSE(m_link.IsOpen());
  const auto logged = TakeLog();
  EXPECT_EQ(logged.reports, "Write Open ");
  EXPECT_EQ(logged.messages, Lines{});
}

TEST_F(ProcessLinkTest, RequestsOfTheChildAreServedInAnyOrder) {
  EXPECT_EQ(Open(m_link,
                 Opened({"open log one", "open resize 5000", "open resize 70000",
                         "open logsize 65535", "open log two", "open resize 0", "open resize 10"})),
            0);
  EXPECT_EQ(Messages(), (Lines{"one", "granted 5000", "granted 70000", std::string(65535, 'x'),
                               "two", "granted 0", "granted 10"}));
  EXPECT_EQ(m_link.MapSize(), 10U);
}

TEST_F(ProcessLinkTest, LogLinesCarryTheContext) {
  const std::string path = Opened({"open log text"});
  const struct {
    uint32_t decoder;
    const char* path;
    const char* description;
    const char* line;
  } kCases[] = {{0, "", "", "text"},
                {6, "", "", "text, decoder: Monkey Audio"},
                {77, "", "why", "text, decoder: Unknown, why"},
                {5, "/a b", "why", "text, file: \"/a b\", decoder: FLAC, why"}};
  for (const auto& each : kCases) {
    m_link.SetLogContext(each.decoder, each.path, each.description);
    EXPECT_EQ(Open(m_link, path), 0);
    EXPECT_EQ(Messages(), Lines{each.line});
  }
}

TEST_F(ProcessLinkTest, MappingThatCannotBeHadIsASizeOfZero) {
  const auto before = std::signal(SIGXFSZ, SIG_IGN);
  {
    const CLimit limit(RLIMIT_FSIZE, 1 << 20);
    EXPECT_EQ(Open(m_link, Opened({"open resize 4000", "open resize 1048577", "open resize 5000",
                                   "open resize 4294967295"})),
              0);
  }
  std::signal(SIGXFSZ, before);
  EXPECT_EQ(Messages(), (Lines{"granted 4000", "granted 0", "granted 5000", "granted 0"}));
  EXPECT_EQ(m_link.Map(), nullptr);
  EXPECT_EQ(m_link.MapSize(), 0U);
}

TEST_F(ProcessLinkTest, OnlyALargeMappingIsGivenBackAtClose) {
  CAudioDecoder client(m_link);
  ASSERT_EQ(client.Open(Opened({"open resize 1048576"}), 0), 0);
  EXPECT_EQ(client.Close(), 0);
  EXPECT_EQ(m_link.MapSize(), 1048576U);

  ASSERT_EQ(client.Open(Opened({"open resize 1048577"}), 0), 0);
  EXPECT_EQ(client.Close(), 0);
  EXPECT_EQ(m_link.MapSize(), 0U);
  EXPECT_EQ(m_link.Map(), nullptr);

  // The child is asked to agree, and a file that would not close keeps its mapping.
  for (const char* refusal : {"purge status 3", "purge id 9"}) {
    ASSERT_EQ(client.Open(Opened({"open resize 1048577", refusal}), 0), 0);
    EXPECT_EQ(client.Close(), kDecodeLinkFailed);
    EXPECT_EQ(m_link.IsOpen(), std::string_view(refusal) == "purge status 3");
  }
  EXPECT_EQ(Reports(), "PurgeMapping Close PurgeMapping Close ");
  ASSERT_EQ(client.Open(Opened({"open resize 1048577", "close status 8"}), 0), 0);
  EXPECT_EQ(client.Close(), 8);
  EXPECT_EQ(m_link.MapSize(), 1048577U);
}

TEST_F(ProcessLinkTest, BackingFileLeavesNoNameAndTakesNobodysName) {
  const CTempFolder folder;
  const CTemporaryFolderVariable variable(folder.Path());
  const auto name = [&](int number) {
    char text[64];
    std::snprintf(text, sizeof text, "quillmarshdecoder%08x%08x", static_cast<unsigned>(getpid()),
                  static_cast<unsigned>(number));
    return folder / text;
  };
  for (int i = 0; i < 150; ++i) test::WriteAll(name(i), "taken");
  // A hundred names are tried at most; the next attempt goes on behind them.
  const bool first = m_link.Reinit();
  EXPECT_TRUE(first || m_link.Reinit());
  EXPECT_EQ(Open(m_link, Opened({"open resize 100"})), 0);
  const std::filesystem::directory_iterator entries(folder.Path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 150);
  for (int i = 0; i < 150; ++i) EXPECT_EQ(test::ReadAll(name(i)), "taken");

  const CTemporaryFolderVariable missing(folder / "missing");
  CProcessLink other(m_table, FAKE_DECODER);
  EXPECT_FALSE(other.Reinit());
  EXPECT_EQ(other.ChildId(), -1);
}

TEST_F(ProcessLinkTest, NoFailureLeaksADescriptor) {
  const std::string paths[] = {Opened({"open resize 100"}), Script({"open exit 11"}),
                               Script({"open exit 10"}), Script({"open resize 9", "open cut 3"}),
                               Script({"open id 9", "open status 1"})};
  static_cast<void>(TakeLog());
  {
    CProcessLink link(m_table, FAKE_DECODER);
    ASSERT_TRUE(link.Reinit());  // the log's file is open from the first line on
    link.LogMessage("begin");
  }
  const size_t before = OpenDescriptors();
  for (const std::string& path : paths) {
    CProcessLink link(m_table, FAKE_DECODER);
    for (int i = 0; i < 3; ++i) static_cast<void>(Open(link, path));
  }
  EXPECT_EQ(OpenDescriptors(), before);

  // No room for the backing file, for the first pipe, for the second.
  const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(next);
  CProcessLink link(m_table, FAKE_DECODER);
  for (int room = 0; room < 5; ++room) {
    const CLimit limit(RLIMIT_NOFILE, static_cast<rlim_t>(next + room));
    EXPECT_FALSE(link.Reinit()) << room;
    EXPECT_FALSE(link.IsOpen());
    EXPECT_EQ(link.ChildId(), -1);
  }
  EXPECT_EQ(OpenDescriptors(), before);
  EXPECT_EQ(Open(link, paths[0]), 0);
}

TEST_F(ProcessLinkTest, LinksOfSeveralThreadsDoNotDisturbEachOther) {
  const std::string good = Opened({"open resize 100", "data reply 100"});
  const std::string bad = Opened({"data exit 11"});
  std::atomic<int> wrong{0};
  std::vector<std::thread> owners;
  for (int owner = 0; owner < 4; ++owner) {
    owners.emplace_back([&, owner] {
      CProcessLink link(m_table, FAKE_DECODER);
      CAudioDecoder client(link);
      for (int i = 0; i < 25; ++i) {
        const bool crash = (i + owner) % 5 == 0;
        const uint8_t* block = nullptr;
        uint32_t size = 0;
        if (client.Open(crash ? bad : good, 0) != 0 ||
            client.GetData(&block, &size) != (crash ? kDecodeLinkFailed : 0) ||
            client.Close() != (crash ? kDecodeBadArgument : 0))
          ++wrong;
      }
    });
  }
  for (int i = 0; i < 10; ++i) {
    ChangeTable("generation " + std::to_string(i));
    std::this_thread::yield();
  }
  for (std::thread& owner : owners) owner.join();
  EXPECT_EQ(wrong, 0);
  const Lines messages = Messages();
  EXPECT_EQ(std::count(messages.begin(), messages.end(), kCrashed), 20);
}

}  // namespace
}  // namespace quill
