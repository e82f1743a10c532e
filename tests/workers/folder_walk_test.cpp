// SPDX-License-Identifier: GPL-3.0-or-later
// The walk through real folders, as a scan does it: requests in at one end, files out at the other.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <set>
#include <vector>

#include "support/temp_folder.h"
#include "workers/workers.h"

namespace quill {
namespace {

using Request = CWorkers::Request;
using Paths = std::vector<std::string>;

struct Seen {
  std::string path;
  uint8_t group;
  bool analysis;
};

class CRecordingEngines : public CFileEngines {
 public:
  CRecordingEngines(std::vector<Seen>& seen, const std::function<void(const std::string&)>& onFile)
      : m_seen(seen), m_onFile(onFile) {}
  bool ProcessFile(const std::string& path, uint8_t group, bool analysis) override {
    if (m_onFile) m_onFile(path);
    m_seen.push_back({path, group, analysis});
    return true;
  }

 private:
  std::vector<Seen>& m_seen;
  const std::function<void(const std::string&)>& m_onFile;
};

class FolderWalkTest : public testing::Test {
 protected:
  // Runs the requests as one batch on one thread; gives the files in their order of processing.
  std::vector<Seen> Walk(const std::vector<Request>& requests) {
    std::vector<Seen> seen;
    std::promise<void> done;
    CWorkers pool(m_counters, [&] { return std::make_unique<CRecordingEngines>(seen, m_onFile); });
    m_edges = 0;
    pool.m_callback = [&] {
      if (++m_edges == 2) done.set_value();
    };
    for (const Request& r : requests) pool.Requeue(r.kind, r.path, r.firstFlag, r.secondFlag);
    pool.SetThreadCount(1);
    done.get_future().wait();
    pool.Shutdown(nullptr);
    EXPECT_EQ(m_edges, 2);
    EXPECT_EQ(m_counters.scheduled, static_cast<int>(seen.size()));
    EXPECT_EQ(m_counters.processed, static_cast<int>(seen.size()));
    m_counters.scheduled = m_counters.processed = 0;
    return seen;
  }

  // Names below the test's folder, sorted: the file system's own order is anyone's guess.
  Paths NamesOf(const std::vector<Seen>& seen) const {
    Paths names;
    for (const Seen& file : seen) {
      EXPECT_TRUE(file.path.starts_with(m_folder.Path() + "/")) << file.path;
      names.push_back(file.path.substr(m_folder.Path().size() + 1));
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  void Touch(const std::string& name) const { test::WriteAll(m_folder / name, "x"); }

  test::CTempFolder m_folder;
  CScanCounters m_counters;
  std::function<void(const std::string&)> m_onFile;
  std::atomic<int> m_edges{0};
};

TEST_F(FolderWalkTest, TakesPlainFilesAndFoldersOnly) {
  for (const char* name : {"plain", ".dot", ".hidden/inside", ".hidden/.dot", "..odd/file",
                           "\xFF\xFE not utf-8 \xC3", "folder \xE9/line\nbreak", "empty.mp3"})
    Touch(name);
  const test::CTempFolder outside;
  test::WriteAll(outside / "target", "x");
  std::filesystem::create_symlink(outside / "target", m_folder / "link to file");
  std::filesystem::create_directory_symlink(outside.Path(), m_folder / "link to folder");
  std::filesystem::create_directory_symlink(m_folder.Path(), m_folder / "loop");
  std::filesystem::create_symlink(outside / "nothing", m_folder / "dangling");
  ASSERT_EQ(mkfifo((m_folder / "fifo").c_str(), 0600), 0);
  const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, (m_folder / "socket").c_str(), sizeof address.sun_path - 1);
  ASSERT_EQ(bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  close(server);

  Paths expected{"..odd/file",   ".dot",
                 ".hidden/.dot", ".hidden/inside",
                 "empty.mp3",    "folder \xE9/line\nbreak",
                 "plain",        "\xFF\xFE not utf-8 \xC3"};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(NamesOf(Walk({{Request::kFolder, m_folder.Path(), 1, 1}})), expected);
}

TEST_F(FolderWalkTest, GroupAndModeTravelToEveryFile) {
  for (const char* name : {"top", "a/middle", "a/b/deep"}) Touch(name);
  std::vector<Seen> seen = Walk({{Request::kFolder, m_folder.Path(), 4, 1}});
  ASSERT_EQ(seen.size(), 3u);
  for (const Seen& file : seen) {
    EXPECT_EQ(file.group, 4);
    EXPECT_FALSE(file.analysis);
  }
  seen = Walk({{Request::kAnalysisFolder, m_folder.Path(), 1, 0}});
  ASSERT_EQ(seen.size(), 3u);
  for (const Seen& file : seen) {
    EXPECT_EQ(file.group, 0);
    EXPECT_TRUE(file.analysis);
  }
}

TEST_F(FolderWalkTest, GoesBreadthFirstAcrossAllFolders) {
  for (const char* root : {"one", "two"}) {
    for (const char* name : {"/f", "/a/f", "/a/b/f", "/a/b/c/f", "/d/f", "/d/e/f"})
      Touch(std::string(root) + name);
  }
  const auto seen = Walk(
      {{Request::kFolder, m_folder / "one", 0, 1}, {Request::kFolder, m_folder / "two", 0, 1}});
  ASSERT_EQ(seen.size(), 12u);
  std::vector<long> depths;
  for (const Seen& file : seen)
    depths.push_back(std::count(file.path.begin(), file.path.end(), '/'));
  EXPECT_TRUE(std::is_sorted(depths.begin(), depths.end()));
}

TEST_F(FolderWalkTest, TrailingSlashIsNotDoubled) {
  Touch("a/file");
  for (const std::string& path : {m_folder.Path(), m_folder.Path() + "/"}) {
    const auto seen = Walk({{Request::kFolder, path, 0, 1}});
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].path, m_folder / "a/file");
  }
}

TEST_F(FolderWalkTest, FolderThatCannotBeOpenedGivesNothing) {
  Touch("first");
  Touch("doomed/file");
  Touch("doomed/sub/file");
  // The folder goes while the scan runs, between being queued and being opened.
  m_onFile = [this](const std::string&) { std::filesystem::remove_all(m_folder / "doomed"); };
  EXPECT_EQ(NamesOf(Walk({{Request::kFile, m_folder / "first", 0, 0},
                          {Request::kFolder, m_folder / "doomed", 0, 1},
                          {Request::kAnalysisFolder, m_folder / "first", 0, 0},
                          {Request::kFolder, "", 0, 1}})),
            Paths{"first"});
}

TEST_F(FolderWalkTest, EmptyFolderIsAWholeScan) {
  EXPECT_TRUE(Walk({{Request::kFolder, m_folder.Path(), 1, 1}}).empty());
}

}  // namespace
}  // namespace quill
