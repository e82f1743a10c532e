// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/folders/folder_list.h"

#include <gtest/gtest.h>

#include "core/base64m.h"

namespace quill {

static bool operator==(const TDXSelectedFolder& a, const TDXSelectedFolder& b) {
  return a.path == b.path && a.groupId == b.groupId;
}

namespace {

using Folders = std::vector<TDXSelectedFolder>;

TEST(FolderListTest, NoFolderLiesInAnother) {
  const struct {
    std::vector<std::string> list;
    std::string added;
    bool covered;
    std::vector<size_t> replaced;
  } cases[] = {
      {{}, "/music", false, {}},
      {{"/music"}, "/music", true, {}},
      {{"/music"}, "/MUSIC", true, {}},
      {{"/music"}, "/Music/Harbour", true, {}},
      {{"/musical"}, "/music", false, {}},
      {{"/music"}, "/musical", false, {}},
      {{"/music/a", "/pictures", "/Music/b"}, "/music", false, {0, 2}},
      {{"/"}, "/music", true, {}},
      {{"/music", "/pictures"}, "/", false, {0, 1}},
      {{"/ÄRIEN"}, "/ärien/neu", true, {}},
      // Two names that are no text differ, whatever they look like.
      {{"/m/\xE4"}, "/m/\xC4", false, {}},
      {{"/m/\xE4"}, "/M/\xE4/a", true, {}},
  };
  for (const auto& c : cases) {
    Folders list;
    for (const std::string& path : c.list) list.push_back({path, 0});
    const FolderAddition addition = PlanAddition(list, c.added);
    EXPECT_EQ(addition.coveredBy.has_value(), c.covered) << c.added;
    EXPECT_EQ(addition.replaced, c.replaced) << c.added;
  }
}

TEST(FolderListTest, PathsAreListedInOneForm) {
  const std::pair<const char*, const char*> cases[] = {{"/music/", "/music"},
                                                       {"/music//a/./b/", "/music/a/b"},
                                                       {"/music/a/..", "/music"},
                                                       {"/", "/"},
                                                       {"//", "/"},
                                                       {"/m\xFF/", "/m\xFF"},
                                                       {"music", ""},
                                                       {"", ""}};
  for (const auto& [path, listed] : cases) EXPECT_EQ(ListedPath(path), listed) << path;
}

TEST(FolderListTest, SettingKeepsBytesAndGroups) {
  const Folders list = {{"/a", 0}, {"/b", 4}, {"/with blank", 0}, {"/no text \xFF\xC3", 1}};
  const std::vector<std::string> setting = FoldersToSetting(list);
  // A folder with no group takes one string, the others two.
  EXPECT_EQ(setting.size(), 6U);
  EXPECT_EQ(setting[2], "4");
  EXPECT_EQ(FoldersFromSetting(setting), list);
  EXPECT_TRUE(FoldersFromSetting({}).empty());
}

TEST(FolderListTest, OnlyWhatCannotBeReadIsDropped) {
  const auto text = [](const std::string& path) {
    std::string encoded;
    EXPECT_TRUE(EncodeBase64M({path.begin(), path.end()}, 0, &encoded));
    return encoded;
  };
  const std::string broken = text("/broken line").insert(4, "\r\n");
  const std::vector<std::string> setting = {text("/zero"), "0",  text("/nine"),     "9", "",
                                            "+foreign+",   "2",  text("relative"),  "3", broken,
                                            "1",           "17", text("/last one"), "2"};
  const Folders list = {{"/zero", 0}, {"/nine", 0}, {"/broken line", 1}, {"/last one", 2}};
  EXPECT_EQ(FoldersFromSetting(setting), list);
}

}  // namespace
}  // namespace quill
