// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/arguments.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quill::cli {
namespace {

TEST(Arguments, GroupHoldsForTheFoldersBehindIt) {
  Arguments arguments;
  std::string error;
  ASSERT_TRUE(ParseArguments({"--threads", "3", "scan", "/a", "--group", "2", "/b/", "/c/./d",
                              "--group", "0", "--", "--json"},
                             &arguments, &error))
      << error;
  EXPECT_EQ(arguments.threads, 3U);
  EXPECT_FALSE(arguments.json);
  ASSERT_EQ(arguments.folders.size(), 4U);
  const std::pair<std::string, int> expected[] = {
      {"/a", 0},
      {"/b", 2},
      {"/c/d", 2},
      {(std::filesystem::current_path() / "--json").string(), 0}};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(arguments.folders[i].path, expected[i].first);
    EXPECT_EQ(arguments.folders[i].groupId, expected[i].second);
  }
}

TEST(Arguments, RefusesWhatWouldBeMisunderstood) {
  const std::vector<std::string> cases[] = {
      {"scan"},
      {"scna", "/a"},
      {"--json"},
      {"scan", "/a", "--grup", "1"},
      {"scan", "--group", "5", "/a"},
      {"scan", "--group", "1x", "/a"},
      {"--threads", "33", "scan", "/a"},
      {"--threads", "-1", "scan", "/a"},
      {"--set", "valueAudioTag=0.5", "scan", "/a"},
      {"--set", "valueAudioTags=much", "scan", "/a"},
      {"--set", "enableAudioTags=2", "scan", "/a"},
      {"--set", "enableAudioTags", "scan", "/a"},
      {"scan", "/a", "--data-dir"},
      {"cache", "drop"},
      {"cache"},
      {"ignore", "add"},
      {"ignore", "add", "/a", "/b", "/c"},
      {"probe"},
      {"probe", "--json", "/a"},
      {"benchmark", "device"},
      {"benchmark", "--device", ""},
      {"scan", "/a", "--device", "x"},
  };
  for (const auto& words : cases) {
    Arguments arguments;
    std::string error;
    EXPECT_FALSE(ParseArguments(words, &arguments, &error)) << testing::PrintToString(words);
    EXPECT_FALSE(error.empty());
  }
}

TEST(Arguments, SettingsAreKeptForTheRun) {
  Arguments arguments;
  std::string error;
  ASSERT_TRUE(ParseArguments(
      {"--set", "enableAudioDuration=no", "--set", "valueAudioTags=0.9", "scan", "/a"}, &arguments,
      &error))
      << error;
  ASSERT_EQ(arguments.settings.size(), 2U);
  EXPECT_EQ(arguments.settings[0],
            (std::pair<std::string, std::string>("enableAudioDuration", "0")));
  EXPECT_EQ(arguments.settings[1], (std::pair<std::string, std::string>("valueAudioTags", "0.9")));
}

}  // namespace
}  // namespace quill::cli
