#include "platform/ini_settings_store.h"

#include <gtest/gtest.h>

#include <memory>

#include "core/configuration.h"
#include "core/defaults.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

// Every value must come back the same from a second program start, where the file is all text.
TEST(IniSettingsStore, ValuesSurviveARestart) {
  const test::CTempFolder folder;
  const std::string path = folder / "sub/settings.ini";
  const std::vector<std::string> list = {"5", "1", "fla, flac", "@x", ""};
  const CByteBlock bytes = {0, 1, 255, 10, 61};
  CConfiguration& configuration = CConfiguration::Instance();
  {
    CIniSettingsStore store(path);
    configuration.SetStore(&store);
    configuration.SetBool("enableThreadLimit", true);
    configuration.SetInteger("audioDupsSort", -5);
    configuration.SetFloat("valueAudioTags", 0.9F);
    configuration.SetString("valueOpenCLDevice", "Gerät, \"eins\"");
    configuration.SetList("audioDecoders", list);
    configuration.SetList("audioAutomarkFolders", {"one"});
    configuration.SetList("selectedBookmarks", {});
    configuration.SetBytes("moveBookmark", bytes);
  }
  CIniSettingsStore store(path);
  configuration.SetStore(&store);
  EXPECT_TRUE(configuration.GetBool("enableThreadLimit", false));
  EXPECT_EQ(configuration.GetInteger("audioDupsSort", 1), -5);
  EXPECT_FLOAT_EQ(configuration.GetFloat("valueAudioTags", 0), 0.9F);
  EXPECT_EQ(configuration.GetString("valueOpenCLDevice", ""), "Gerät, \"eins\"");
  std::vector<std::string> read;
  EXPECT_TRUE(configuration.GetList("audioDecoders", &read));
  EXPECT_EQ(read, list);
  EXPECT_TRUE(configuration.GetList("audioAutomarkFolders", &read));
  EXPECT_EQ(read, std::vector<std::string>{"one"});
  EXPECT_TRUE(configuration.GetList("selectedBookmarks", &read)) << "an empty list exists";
  EXPECT_TRUE(read.empty());
  EXPECT_FALSE(configuration.GetList("imageAutomarkFolders", &read));
  CByteBlock block;
  EXPECT_TRUE(configuration.GetBytes("moveBookmark", &block));
  EXPECT_EQ(block, bytes);
  configuration.SetStore(nullptr);
}

TEST(IniSettingsStore, RemovalLetsTheRegisteredValueShowThrough) {
  const test::CTempFolder folder;
  CConfiguration& configuration = CConfiguration::Instance();
  auto store = std::make_unique<CIniSettingsStore>(folder / "settings.ini");
  configuration.SetStore(store.get());
  configuration.Register(DefaultsMiscellaneous());
  configuration.SetBool("enableFlatMode", true);
  configuration.SetInteger("valueThreadLimit", 7);
  EXPECT_EQ(configuration.GetInteger("valueThreadLimit", 0), 7);
  configuration.Remove("valueThreadLimit");
  EXPECT_EQ(configuration.GetInteger("valueThreadLimit", 0), 1);
  configuration.SetStore(nullptr);
  store.reset();
  const std::string text = test::ReadAll(folder / "settings.ini");
  EXPECT_NE(text.find("enableFlatMode=true"), std::string::npos);
  EXPECT_EQ(text.find("valueThreadLimit"), std::string::npos)
      << "registered values are not written to the file";
}

}  // namespace
}  // namespace quill
