// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/ignore_list.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <tuple>

#include "report_log.h"
#include "short_disk.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using namespace test;

std::string Entries(const CIgnoreList& list) {
  std::string text;
  list.ForEach([&text](const std::string& first, const std::string& second) {
    text += first + "|" + second + ";";
  });
  return text;
}

TEST(IgnoreList, ReadsItsTextWhateverTheLineEnds) {
  struct Case {
    const char* text;
    const char* entries;
  };
  const Case cases[] = {
      {"", ""},
      {"\"/a\"\r\n\"/b\",\"/c\"\r\n", "/a|;/b|/c;"},
      {"\"/a\"\n\"/b\",\"/c\"\n", "/a|;/b|/c;"},
      {"\"/a\"\r\"/b\"\r", "/a|;/b|;"},
      {"\"/b\",\"/c\"", "/b|/c;"},
      {"\"/a\"\n\"/last\"", "/a|;"},  // no line end: lost
      {"\"/a\"\n\"/open", "/a|;"},    // no closing quote
      {"\"/a\",\"/open\n", ""},       // the same in the second
      {"a note\n\n  \"/a\" and more\n", "/a|;"},
      {"\"/a\" \t,; \"/b\" \"/c\"\n", "/a|/b;/c|;"},
      {"\"/a,b\"\n\"/c\n\",\"/d\"\n", "/a,b|;/c\n|/d;"},
      {"\"/a\"\n\"/a\"\n\"/a\",\"/b\"\n\"/b\",\"/a\"\n", "/a|;/a|/b;"},
      {"\"\"\n\"/a\"\n\"/b\",\"\"\n", "/a|;"},  // empty paths are no entries
  };
  CTempFolder folder;
  CReportLog log;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    WriteAll(folder / "list", c.text);
    CIgnoreList list;
    EXPECT_TRUE(list.LoadIgnores(folder / "list"));
    EXPECT_EQ(Entries(list), c.entries);
  }
  EXPECT_EQ(log.Take(), "AddIgnore:414 AddIgnore:398 ");
  CIgnoreList list;
  EXPECT_FALSE(list.LoadIgnores(folder / "none"));
  EXPECT_EQ(log.Take(), "");
  EXPECT_FALSE(list.LoadIgnores(folder.Path()));
  EXPECT_EQ(log.Take(), "Read:104 LoadIgnores:315 ");
}

TEST(IgnoreList, APairIsOneEntryInEitherOrder) {
  CIgnoreList list;
  CReportLog log;
  EXPECT_TRUE(list.AddIgnore("/b", "/a"));
  EXPECT_FALSE(list.AddIgnore("/a", "/b"));
  EXPECT_FALSE(list.AddIgnore("/b", "/a"));
  EXPECT_EQ(log.Take(), "");
  for (const auto& [a, b, ignored] :
       {std::tuple{"/a", "/b", true}, {"/b", "/a", true}, {"/a", "/a", false}, {"/a", "/c", false}})
    EXPECT_EQ(list.IsPairIgnored(a, b), ignored) << a << b;
  EXPECT_FALSE(list.IsFileIgnored("/a") || list.IsFileIgnored("/b"));
  EXPECT_TRUE(list.AddIgnore("/a"));
  EXPECT_FALSE(list.AddIgnore("/a"));
  EXPECT_TRUE(list.IsFileIgnored("/a"));
  EXPECT_FALSE(list.AddIgnore("/a", ""));
  EXPECT_FALSE(list.AddIgnore("", "/a"));
  EXPECT_FALSE(list.AddIgnore(""));
  EXPECT_EQ(log.Take(), "AddIgnore:398 AddIgnore:398 AddIgnore:414 ");
  EXPECT_EQ(list.Count(), 2u);
}

TEST(IgnoreList, WritesTheFormatByteForByte) {
  CTempFolder folder;
  CIgnoreList list;
  ASSERT_TRUE(list.SaveIgnores(folder / "list"));
  EXPECT_EQ(ReadAll(folder / "list"), "");
  list.AddIgnore("/b", "/a");
  list.AddIgnore("/\xC3\xA4", "/a");  // behind ASCII: bytes are unsigned
  list.AddIgnore("/b");
  list.AddIgnore("/ab");
  ASSERT_TRUE(list.SaveIgnores(folder / "list"));
  EXPECT_EQ(ReadAll(folder / "list"),
            "\"/ab\"\r\n\"/b\"\r\n\"/b\",\"/a\"\r\n\"/\xC3\xA4\",\"/a\"\r\n");
  EXPECT_FALSE(std::filesystem::exists(folder / "list.new"));
  list.Clear(folder / "list");
  EXPECT_FALSE(std::filesystem::exists(folder / "list"));
  EXPECT_EQ(list.Count(), 0u);
  EXPECT_FALSE(list.IsFileIgnored("/b"));
}

TEST(IgnoreList, AListOfManyPiecesComesBackWhole) {
  CTempFolder folder;
  CIgnoreList list, again;
  for (int i = 0; i < 5000; ++i) {
    const std::string path = "/folder/" + std::to_string(i * 7919 % 5000);
    ASSERT_TRUE(i % 2 ? list.AddIgnore(path, path + ".copy") : list.AddIgnore(path));
  }
  ASSERT_TRUE(list.AddIgnore(std::string(200000, 'x')));
  ASSERT_TRUE(list.SaveIgnores(folder / "list"));
  ASSERT_TRUE(again.LoadIgnores(folder / "list"));
  EXPECT_TRUE(Entries(again) == Entries(list));
}

TEST(IgnoreList, AFailedSaveKeepsTheListOfTheLast) {
  CTempFolder folder;
  const std::string path = folder / "list";
  WriteAll(path, "\"/old\"\r\n");
  for (const size_t length : {1000u, 100000u}) {  // what is left, a full piece
    EXPECT_EQ(InChild([&] {
                CReportLog log;
                CIgnoreList list;
                list.AddIgnore(std::string(length, 'x'));
                {
                  const CShortDisk disk(500);
                  if (list.SaveIgnores(path)) return 1;
                }
                const char* const line = length > 65536 ? "384 " : "389 ";
                return log.Take() == std::string("Write:124 SaveIgnores:") + line ? 0 : 2;
              }),
              0);
    EXPECT_EQ(ReadAll(path), "\"/old\"\r\n");
    EXPECT_FALSE(std::filesystem::exists(path + ".new"));
  }
  CReportLog log;
  EXPECT_FALSE(CIgnoreList().SaveIgnores(folder / "none/list"));
  EXPECT_EQ(log.Take(), "SaveIgnores:366 ");
}

TEST(IgnoreList, ThreadsAskWhileOthersAdd) {
  CIgnoreList list;
  {
    std::jthread adder([&list] {
      for (int i = 0; i < 2000; ++i) list.AddIgnore("/" + std::to_string(i), "/other");
    });
    // Once seen, an entry stays seen.
    for (int i = 0; i < 2000; ++i) {
      const std::string path = "/" + std::to_string(i);
      const bool seen = list.IsPairIgnored("/other", path);
      EXPECT_TRUE(!seen || list.IsPairIgnored(path, "/other"));
    }
  }
  EXPECT_EQ(list.Count(), 2000u);
}

}  // namespace
}  // namespace quill
