// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "report_log.h"
#include "short_disk.h"
#include "storage/file_map.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using namespace test;

TEST(File, EachModeCreatesReadsAndWritesAsTold) {
  struct Case {
    int32_t mode;
    bool creates, reads, writes;
    std::string left;  // of "content" after the open
  };
  const Case cases[] = {
      {CFile::kRead, false, true, false, "content"},
      {CFile::kWrite, true, false, true, "content"},
      {CFile::kReadWrite, true, true, true, "content"},
      {CFile::kTruncate, true, false, true, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.mode);
    CTempFolder folder;
    CFile file;
    EXPECT_EQ(file.Open(folder / "new", c.mode), c.creates);
    WriteAll(folder / "old", "content");
    ASSERT_TRUE(file.Open(folder / "old", c.mode));
    EXPECT_EQ(ReadAll(folder / "old"), c.left);
    char byte;
    size_t got;
    EXPECT_EQ(file.Read(&byte, 1, &got), c.reads);
    EXPECT_EQ(file.Seek(0) && file.Write("C", 1), c.writes);
  }
  CFile file;
  EXPECT_FALSE(file.IsOpen());
  EXPECT_FALSE(file.Open("/dev/null", 0));
  EXPECT_FALSE(file.Open("/dev/null", 5));
  EXPECT_FALSE(file.IsOpen());
}

TEST(File, ReadTellsTheEndFromAnError) {
  CTempFolder folder;
  WriteAll(folder / "f", "12345");
  CReportLog log;
  CFile file;
  ASSERT_TRUE(file.Open(folder / "f", CFile::kRead));
  char buffer[8];
  size_t got = 99;
  EXPECT_TRUE(file.Read(buffer, 8, &got));
  EXPECT_EQ(got, 5u);
  EXPECT_TRUE(file.Seek(3));
  EXPECT_FALSE(file.Read(buffer, 3));
  EXPECT_EQ(log.Take(), "");
  file.Close();
  EXPECT_FALSE(file.Read(buffer, 1, &got));
  EXPECT_FALSE(file.Write("x", 1));
  EXPECT_FALSE(file.Seek(0));
  EXPECT_FALSE(file.Truncate(0));
  EXPECT_EQ(file.Size(), 0u);
  EXPECT_EQ(log.Take(), "Read:104 Write:119 Seek:132 Truncate:156 Size:185 ");
}

TEST(File, TruncateMovesToTheNewEnd) {
  CTempFolder folder;
  CFile file;
  ASSERT_TRUE(file.Open(folder / "f", CFile::kReadWrite));
  ASSERT_TRUE(file.Write("abcdef", 6) && file.Truncate(2) && file.Write("X", 1));
  ASSERT_TRUE(file.Truncate(5) && file.Write("Y", 1));
  EXPECT_EQ(file.Size(), 6u);
  EXPECT_EQ(file.Position(), 6u);
  EXPECT_EQ(ReadAll(folder / "f"), std::string("abX\0\0Y", 6));
}

TEST(File, AShortWriteFails) {
  CTempFolder folder;
  EXPECT_EQ(InChild([&] {
              CReportLog log;
              CFile file;
              if (!file.Open(folder / "f", CFile::kTruncate)) return 1;
              {
                const CShortDisk disk(4);
                if (file.Write("123456", 6) || file.Write("7", 1)) return 2;
              }
              return log.Take() == "Write:124 Write:119 " ? 0 : 3;
            }),
            0);
}

// A decoder child that inherits the journal could keep it open, or write to it.
TEST(File, DescriptorsAreNotInherited) {
  CTempFolder folder;
  CFile files[4];
  for (int32_t mode = 4; mode >= 1; --mode) ASSERT_TRUE(files[mode - 1].Open(folder / "f", mode));
  CFileMap maps[2];
  ASSERT_TRUE(maps[0].Open(folder / "f", false));
  ASSERT_TRUE(maps[1].Open(folder / "f", true));
  size_t seen = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    if (std::filesystem::read_symlink(entry.path(), error) != folder / "f") continue;
    ++seen;
    EXPECT_NE(fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC, 0);
  }
  EXPECT_EQ(seen, 6u);
}

}  // namespace
}  // namespace quill
