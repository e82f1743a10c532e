// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/file_operations.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>

#include "results/result_tables.h"
#include "support/process_log.h"

namespace quill {
namespace {

using Strings = std::vector<std::string>;
using Files = std::map<std::string, std::string>;  // content by path
using Names = std::set<std::string>;

// A disk in memory that keeps the contract of the real one, fails to order, and remembers its
// calls.
class CFakeDisk : public CFileService {
 public:
  Files files;
  Names immutable;
  std::map<std::string, int> errors;  // by call, as in `calls`
  Strings calls;

  int Trash(const std::string& path) override {
    if (const int error = Begin("trash " + path, path)) return error;
    files.erase(path);
    return 0;
  }
  int Move(const std::string& from, const std::string& to) override {
    return Transfer("move", from, to);
  }
  int Rename(const std::string& from, const std::string& to) override {
    return Transfer("rename", from, to);
  }
  int ClearImmutable(const std::string& path) override {
    calls.push_back("clear " + path);
    if (const auto error = errors.find(calls.back()); error != errors.end()) return error->second;
    return immutable.erase(path) != 0 ? 0 : ENODATA;
  }

 private:
  int Begin(const std::string& call, const std::string& path) {
    errno = ERANGE;  // no caller may rely on it
    calls.push_back(call);
    if (const auto error = errors.find(call); error != errors.end()) return error->second;
    if (!files.contains(path)) return ENOENT;
    return immutable.contains(path) ? EPERM : 0;
  }
  int Transfer(const std::string& name, const std::string& from, const std::string& to) {
    if (const int error = Begin(name + " " + from + " " + to, from)) return error;
    if (files.contains(to)) return EEXIST;
    files[to] = files[from];
    files.erase(from);
    return 0;
  }
};

class CFakePerson : public CFileQuestions {
 public:
  bool yes = true;
  std::string folder;
  size_t patience = 1000;  // files until the person stops
  Strings asked, failures;
  int choosers = 0, finished = 0;

  bool Confirm(const std::string& title, const std::string& text, const std::string&) override {
    asked.push_back(title + "|" + text);
    return yes;
  }
  std::string ChooseMoveFolder() override {
    ++choosers;
    return folder;
  }
  bool Perform(const std::string&, size_t index, size_t,
               const std::function<void()>& work) override {
    if (index == patience) return false;
    work();
    return true;
  }
  void Finished(const Strings& lines) override {
    ++finished;
    failures = lines;
  }
};

class FileOperations : public testing::Test {
 protected:
  void NoQuestion() { CConfiguration::Instance().SetBool("enableDeletionConfirmation", false); }

  const test::CProcessLog m_log;
  const test::COwnSettings m_settings;
  CFakeDisk m_disk;
  CFakePerson m_person;
  CFileOperations m_operations{m_disk, m_person};
};

TEST_F(FileOperations, TrashAsksUnlessTheSettingsSayNo) {
  m_disk.files = {{"/a", "A"}, {"/b", "B"}};
  m_person.yes = false;
  Strings one = {"/a"}, both = {"/a", "/b"};
  EXPECT_FALSE(m_operations.Delete(&one));
  EXPECT_FALSE(m_operations.Delete(&both));
  EXPECT_EQ(m_person.asked, (Strings{"Move to trash|Move to trash 1 file(s)?",
                                     "Move to trash|Move to trash 2 file(s)?"}));
  EXPECT_TRUE(m_disk.calls.empty());
  EXPECT_TRUE(m_log.Lines().empty());
  NoQuestion();
  EXPECT_TRUE(m_operations.Delete(&both));
  EXPECT_EQ(m_person.asked.size(), 2U);
}

TEST_F(FileOperations, FilesThatCannotBeTrashedCountAndAreNamed) {
  NoQuestion();
  m_disk.files = {{"/free", ""}, {"/locked", ""}, {"/stuck", ""}, {"/owned", ""}};
  m_disk.immutable = {"/locked", "/stuck", "/owned"};
  m_disk.errors = {{"trash /stuck", EROFS}, {"clear /owned", EPERM}};
  Strings paths = {"/free", "/locked", "/gone", "/stuck", "/owned"};
  EXPECT_TRUE(m_operations.Delete(&paths));
  EXPECT_EQ(paths.size(), 5U);
  EXPECT_EQ(m_disk.calls, (Strings{"trash /free",                                      //
                                   "trash /locked", "clear /locked", "trash /locked",  //
                                   "trash /gone", "clear /gone",                       //
                                   "trash /stuck", "clear /stuck", "trash /stuck",     //
                                   "trash /owned", "clear /owned"}));
  EXPECT_EQ(m_disk.immutable, Names{"/owned"}) << "a cleared flag stays cleared";
  EXPECT_EQ(m_log.Lines(),
            (Strings{"Deleted file \"/free\"", "Deleted file \"/locked\"", "Deleted file \"/gone\"",
                     "Deleted file \"/stuck\"", "Deleted file \"/owned\""}));
  ASSERT_EQ(m_person.failures.size(), 3U);
  EXPECT_TRUE(m_person.failures[0].starts_with("/gone: ")) << m_person.failures[0];
  EXPECT_TRUE(
      m_person.failures[1].starts_with("/stuck: Not moved to the trash. The disk is read-only."))
      << m_person.failures[1];
}

// What the table drops must be what was handled, no more.
TEST_F(FileOperations, StoppingHalfWayLeavesTheRest) {
  NoQuestion();
  m_disk.files = {{"/a", ""}, {"/b", ""}, {"/c", ""}};
  m_person.patience = 2;
  Strings paths = {"/a", "/b", "/c"};
  EXPECT_TRUE(m_operations.Delete(&paths));
  EXPECT_EQ(paths, (Strings{"/a", "/b"}));
  EXPECT_TRUE(m_disk.files.contains("/c"));
  m_person.patience = 0;
  paths = {"/c"};
  EXPECT_FALSE(m_operations.MoveTo("/to", &paths));
  EXPECT_TRUE(m_disk.files.contains("/c"));
  EXPECT_EQ(m_person.finished, 2) << "a progress window must close";
}

TEST_F(FileOperations, MovesGoToTheFolderOfTheSettingsWhileItExists) {
  const test::CTempFolder parent;
  const std::string folder = parent / "m\xFFsic";
  std::filesystem::create_directory(folder);
  CConfiguration& configuration = CConfiguration::Instance();
  configuration.SetBytes("moveBookmark", CByteBlock(folder.begin(), folder.end()));
  m_person.folder = "/chosen/";
  const auto target = [&] {
    m_disk.files = {{"/x/a.mp3", "A"}};
    Strings paths = {"/x/a.mp3"};
    EXPECT_TRUE(m_operations.Move(&paths));
    return m_disk.files.begin()->first;
  };
  EXPECT_EQ(target(), folder + "/a.mp3") << "also with no setting, which counts as true";
  EXPECT_EQ(m_person.choosers, 0);
  configuration.SetBool("enableMoveFolder", false);
  EXPECT_EQ(target(), "/chosen/a.mp3");
  configuration.SetBool("enableMoveFolder", true);
  std::filesystem::remove(folder);
  EXPECT_EQ(target(), "/chosen/a.mp3");
  test::WriteAll(folder, "a file now");
  EXPECT_EQ(target(), "/chosen/a.mp3");

  m_person.folder.clear();
  m_disk.calls.clear();
  Strings paths = {"/x/a.mp3"};
  EXPECT_FALSE(m_operations.Move(&paths)) << "cancelled";
  EXPECT_TRUE(m_disk.calls.empty());
}

TEST_F(FileOperations, MovesThatFailWriteNoLineButCount) {
  m_disk.files = {{"/x/a", "A"}, {"/to/a", "other"}, {"/x/b", "B"}, {"/x/c", "C"}, {"/x/d", "D"}};
  m_disk.immutable = {"/x/b", "/x/c", "/x/d"};
  m_disk.errors = {{"clear /x/c", EPERM}, {"move /x/d /to/d", ENOSPC}};
  Strings paths = {"/x/a", "/x/b", "/x/c", "/x/d", "/to/a"};
  EXPECT_TRUE(m_operations.MoveTo("/to", &paths));
  EXPECT_EQ(paths.size(), 5U);
  EXPECT_EQ(
      m_disk.files,
      (Files{{"/x/a", "A"}, {"/to/a", "other"}, {"/to/b", "B"}, {"/x/c", "C"}, {"/x/d", "D"}}));
  EXPECT_EQ(m_disk.immutable, Names{"/x/c"}) << "a cleared flag stays cleared";
  EXPECT_EQ(m_log.Lines(), Strings{"Moved file \"/x/b\" to \"/to/b\""});
  ASSERT_EQ(m_person.failures.size(), 4U);
  EXPECT_EQ(m_person.failures[0],
            "/x/a: Not moved to \"/to\". The name \"a\" is taken there. Rename one of the two "
            "files.");
  EXPECT_EQ(m_person.failures[3], "/to/a: It is in that folder already.");
}

TEST_F(FileOperations, SwapTakesTheNextNameWhenOneIsRefused) {
  m_disk.files = {{"/x/a", "A"}, {"/y/b", "B"}, {"/x/a.tmp", "user's"}};
  m_disk.errors = {{"rename /x/a /x/a.1.tmp", EACCES}};
  EXPECT_TRUE(m_operations.SwapCallback("/x/a", "/y/b"));
  EXPECT_EQ(m_disk.calls,
            (Strings{"rename /x/a /x/a.tmp", "rename /x/a /x/a.1.tmp", "rename /x/a /x/a.2.tmp",
                     "rename /y/b /x/a", "rename /x/a.2.tmp /y/b"}));
  EXPECT_EQ(m_disk.files, (Files{{"/x/a", "B"}, {"/y/b", "A"}, {"/x/a.tmp", "user's"}}));
  EXPECT_EQ(m_log.Lines(), Strings{"Swapped files \"/x/a\" and \"/y/b\""});
  EXPECT_EQ(m_person.finished, 0);
}

// The names are put back; where that fails too, the user must learn under which name a file is
// left.
TEST_F(FileOperations, SwapThatFailsPutsTheNamesBack) {
  const Files before = {{"/a", "A"}, {"/b", "B"}};
  const std::string left = " It is now called \"/a.tmp\"";
  const Strings steps[] = {
      {"rename /a /a.tmp"},
      {"rename /a /a.tmp", "rename /b /a", "rename /a.tmp /a"},
      {"rename /a /a.tmp", "rename /b /a", "rename /a.tmp /b", "rename /a /b", "rename /a.tmp /a"},
  };
  const struct {
    Strings failing;
    int error;
    size_t step;  // from 1
    Files files;
    std::string told;  // behind what went wrong
  } cases[] = {
      {{"rename /a /a.tmp"}, EPERM, 1, before, ""},
      {{"rename /b /a"}, EXDEV, 2, before, ""},
      {{"rename /b /a", "rename /a.tmp /a"}, EIO, 2, {{"/a.tmp", "A"}, {"/b", "B"}}, left},
      {{"rename /a.tmp /b"}, EIO, 3, before, ""},
      {{"rename /a.tmp /b", "rename /a /b"},
       EIO,
       3,
       {{"/a", "B"}, {"/a.tmp", "A"}},
       left + ": give it its name back by hand. \"/b\" is now called \"/a\""},
  };
  for (size_t logged = 0; const auto& [failing, error, step, files, told] : cases) {
    SCOPED_TRACE(testing::PrintToString(failing));
    m_disk.files = before;
    m_disk.calls.clear();
    m_disk.errors.clear();
    for (const std::string& call : failing) m_disk.errors[call] = error;
    EXPECT_FALSE(m_operations.SwapCallback("/a", "/b"));
    EXPECT_EQ(m_disk.calls, steps[step - 1]);
    EXPECT_EQ(m_disk.files, files);
    const Strings log = m_log.Lines();
    ASSERT_EQ(log.size(), logged + 4);
    const std::string hint =
        "System error [" + std::to_string(error) + "]: " + std::strerror(error);
    EXPECT_EQ(log[logged], hint);
    EXPECT_EQ(log[logged + 1], "move(" + std::to_string(step) + ") failed");
    EXPECT_EQ(log[logged + 2], hint) << "the report tells the same error, not a later one";
    EXPECT_TRUE(log[logged + 3].starts_with("SwapCallback:")) << log[logged + 3];
    logged += 4;
    ASSERT_EQ(m_person.failures.size(), 1U);
    const std::string& failure = m_person.failures[0];
    EXPECT_TRUE(failure.starts_with("/a: ")) << failure;
    EXPECT_EQ(failure.find("now called") == failure.npos, told.empty()) << failure;
    EXPECT_NE(failure.find(told), failure.npos) << failure;
  }
}

TEST_F(FileOperations, SwapWithEveryNameRefusedFailsOnTheNextStep) {
  m_disk.files = {{"/a", "A"}, {"/b", "B"}, {"/a.tmp", "0"}};
  for (int n = 1; n < 1000; ++n) m_disk.files["/a." + std::to_string(n) + ".tmp"] = "taken";
  const auto before = m_disk.files;
  EXPECT_FALSE(m_operations.SwapCallback("/a", "/b"));
  EXPECT_EQ(m_disk.files, before);
  ASSERT_EQ(m_disk.calls.size(), 1002U);
  EXPECT_EQ(m_disk.calls[1000], "rename /b /a");
  EXPECT_EQ(m_disk.calls[1001], "rename /a.999.tmp /a");
  EXPECT_EQ(m_log.Lines().at(1), "move(2) failed");
  EXPECT_NE(m_person.failures.at(0).find("\"a.999.tmp\" is taken"), std::string::npos)
      << m_person.failures[0];
}

}  // namespace
}  // namespace quill
