// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ini_settings_store.h"

#include <gtest/gtest.h>

#include "core/configuration.h"
#include "core/defaults.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using Strings = std::vector<std::string>;

std::string Key(const Strings& list) {
  return "list" + std::to_string(list.size());
}

// Every value must come back the same from a second program start, where the file is all text.
TEST(IniSettingsStore, ValuesSurviveARestart) {
  const test::CTempFolder folder;
  const std::string path = folder / "sub/settings.ini";
  const Strings lists[] = {{"5", "1", "fla, flac", "@x", ""}, {"one"}, {}};
  const CByteBlock bytes = {0, 1, 255, 10, 61};
  CConfiguration& configuration = CConfiguration::Instance();
  test::WriteAll(path, "[General]\nbyHand=one, two\n");
  {
    CIniSettingsStore store(path);
    configuration.SetStore(&store);
    configuration.SetBool("enableThreadLimit", true);
    configuration.SetInteger("audioDupsSort", -5);
    configuration.SetFloat("valueAudioTags", 0.9F);
    configuration.SetString("valueOpenCLDevice", "Gerät, \"eins\"");
    for (const Strings& list : lists) configuration.SetList(Key(list).c_str(), list);
    configuration.SetBytes("moveBookmark", bytes);
    // A removal lets the registered value show through, which is not written to the file.
    configuration.Register(DefaultsMiscellaneous());
    configuration.SetInteger("valueThreadLimit", 7);
    EXPECT_EQ(configuration.GetInteger("valueThreadLimit", 0), 7);
    configuration.Remove("valueThreadLimit");
    EXPECT_EQ(configuration.GetInteger("valueThreadLimit", 0), 1);
  }
  CIniSettingsStore store(path);
  configuration.SetStore(&store);
  EXPECT_EQ(configuration.GetString("byHand", ""), "one, two");
  EXPECT_EQ(configuration.GetInteger("valueThreadLimit", 5), 5);
  EXPECT_FALSE(configuration.GetBool("useInternalPlayer", false));
  EXPECT_TRUE(configuration.GetBool("enableThreadLimit", false));
  EXPECT_EQ(configuration.GetInteger("audioDupsSort", 1), -5);
  EXPECT_FLOAT_EQ(configuration.GetFloat("valueAudioTags", 0), 0.9F);
  EXPECT_EQ(configuration.GetString("valueOpenCLDevice", ""), "Gerät, \"eins\"");
  Strings read;
  for (const Strings& list : lists) {
    EXPECT_TRUE(configuration.GetList(Key(list).c_str(), &read)) << "an empty one exists too";
    EXPECT_EQ(read, list);
  }
  EXPECT_FALSE(configuration.GetList("imageAutomarkFolders", &read));
  CByteBlock block;
  EXPECT_TRUE(configuration.GetBytes("moveBookmark", &block));
  EXPECT_EQ(block, bytes);
  configuration.SetStore(nullptr);
}

}  // namespace
}  // namespace quill
