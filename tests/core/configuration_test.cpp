// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/configuration.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <limits>
#include <tuple>

#include "core/defaults.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

class ConfigurationTest : public testing::Test {
 protected:
  ConfigurationTest() { m_configuration.SetStore(&m_store); }

  CMemorySettingsStore m_store;
  CConfiguration m_configuration;
};

TEST_F(ConfigurationTest, StoredBeatsRegisteredBeatsFallback) {
  EXPECT_EQ(m_configuration.GetInteger("key", 7), 7);
  m_configuration.Register({{"key", int32_t{8}}});
  EXPECT_EQ(m_configuration.GetInteger("key", 7), 8);
  m_configuration.SetInteger("key", 9);
  EXPECT_EQ(m_configuration.GetInteger("key", 7), 9);
  m_configuration.Register({{"key", int32_t{10}}});
  EXPECT_EQ(m_configuration.GetInteger("key", 7), 9);
  m_configuration.Remove("key");
  EXPECT_EQ(m_configuration.GetInteger("key", 7), 10);
}

TEST_F(ConfigurationTest, EveryStoredFormReadsSensibly) {
  const std::tuple<CSettingValue, int32_t, bool, float> cases[] = {
      {true, 1, true, 1.0f},
      {false, 0, false, 0.0f},
      {int32_t{1}, 1, true, 1.0f},
      {int32_t{2}, 2, false, 2.0f},
      {int32_t{-1}, -1, false, -1.0f},
      {0.75, 0, false, 0.75f},
      {1.5, 1, false, 1.5f},
      {3e9, 0, false, 3e9f},
      {-2147483649.0, 0, false, -2147483648.0f},
      {1e300, 0, false, 0.0f},
      {std::numeric_limits<double>::quiet_NaN(), 0, false, 0.0f},
      {std::numeric_limits<double>::infinity(), 0, false, 0.0f},
      {std::string("true"), 1, true, 1.0f},
      {std::string("false"), 0, false, 0.0f},
      {std::string("1"), 1, true, 1.0f},
      {std::string("-17"), -17, false, -17.0f},
      {std::string("0.75"), 0, false, 0.75f},
      {std::string("1,5"), 0, false, 0.0f},
      {std::string("12 files"), 0, false, 0.0f},
      {std::string("nan"), 0, false, 0.0f},
      {std::string(), 0, false, 0.0f},
      {Strings{"1"}, 0, false, 0.0f},
      {CByteBlock{1}, 0, false, 0.0f}};
  for (size_t i = 0; i < std::size(cases); ++i) {
    const auto& [stored, integer, flag, number] = cases[i];
    m_store.Set("key", stored);
    EXPECT_EQ(m_configuration.GetInteger("key", 5), integer) << i;
    EXPECT_EQ(m_configuration.GetBool("key", !flag), flag) << i;
    EXPECT_EQ(m_configuration.GetFloat("key", 5), number) << i;
  }
}

TEST_F(ConfigurationTest, ListsTellEmptyFromAbsentAndBytesAreNoText) {
  Strings list{"old"};
  EXPECT_FALSE(m_configuration.GetList("key", &list));
  EXPECT_TRUE(list.empty());
  for (const Strings& stored : {Strings{}, Strings{"a", "", "b,c"}}) {
    m_configuration.SetList("key", stored);
    EXPECT_TRUE(m_configuration.GetList("key", &list));
    EXPECT_EQ(list, stored);
  }
  m_configuration.SetString("key", "alone");
  EXPECT_TRUE(m_configuration.GetList("key", &list));
  EXPECT_EQ(list, Strings{"alone"});
  EXPECT_FALSE(m_configuration.GetList(nullptr, &list));
  EXPECT_FALSE(m_configuration.GetList("key", nullptr));
  m_configuration.SetList(nullptr, {"nowhere"});

  CByteBlock bytes;
  EXPECT_FALSE(m_configuration.GetBytes("key", &bytes));
  m_configuration.SetBytes("key", {0, 255, 10});
  EXPECT_TRUE(m_configuration.GetBytes("key", &bytes));
  EXPECT_EQ(bytes, (CByteBlock{0, 255, 10}));
  EXPECT_EQ(m_configuration.GetString("key", "fallback"), "");
}

TEST_F(ConfigurationTest, RegisteredGroupsWinOverFallbacksAndCanBeReset) {
  for (const auto* group : {&DefaultsGeneral(), &DefaultsMiscellaneous(), &DefaultsOpenCl()})
    m_configuration.Register(*group);
  EXPECT_FALSE(m_configuration.GetBool("enableMoveFolder", true));
  EXPECT_EQ(m_configuration.GetInteger("valueOpenCLWorkSize", 0), 64);
  EXPECT_EQ(m_configuration.GetFloat("valueAudioPrecise", 0), 0.5f);
  EXPECT_TRUE(m_configuration.GetBool("enableAudioDuration", false));
  EXPECT_TRUE(m_configuration.GetBool("checkUpdate", false));
}

TEST_F(ConfigurationTest, OldNamesGiveWayToNewOnes) {
  m_configuration.SetBool("enableDurationCheck", false);
  m_configuration.SetFloat("valueDurationCheck", 0.25F);
  m_configuration.SetFloat("valueAudioDuration", 0.5F);
  RenameOldSettings(m_configuration);
  m_configuration.Register(DefaultsGeneral());
  EXPECT_FALSE(m_configuration.GetBool("enableAudioDuration", true));
  EXPECT_EQ(m_configuration.GetFloat("valueAudioDuration", 0), 0.5F) << "the new name's own stays";
  EXPECT_EQ(m_configuration.GetString("enableDurationCheck", "gone"), "gone");
  EXPECT_EQ(m_configuration.GetString("valueDurationCheck", "gone"), "gone");
}

TEST_F(ConfigurationTest, ResetOfAGroupLeavesOtherKeys) {
  m_configuration.Register(DefaultsGeneral());
  m_configuration.SetBool("enableFlatMode", true);
  m_configuration.SetFloat("valueAudioTags", 0.25f);
  for (const auto& [key, value] : DefaultsGeneral()) m_configuration.Remove(key);
  EXPECT_TRUE(m_configuration.GetBool("enableFlatMode", false));
  EXPECT_EQ(m_configuration.GetFloat("valueAudioTags", 0), 0.75f);
}

TEST(ConfigurationWithoutStoreTest, ReadsFallBackAndWritesAreDropped) {
  CConfiguration configuration;
  configuration.SetString("key", "value");
  configuration.Register(DefaultsGeneral());
  configuration.Remove("key");
  EXPECT_EQ(configuration.GetString("key", "fallback"), "fallback");
  EXPECT_TRUE(configuration.GetBool("enableMoveFolder", true));
  EXPECT_EQ(configuration.ApplicationSupportPath(), "");
  EXPECT_EQ(configuration.LogsPath("x"), "");
}

TEST(ConfigurationFoldersTest, AreMadeOnEachCall) {
  const test::CTempFolder folder;
  CConfiguration configuration;
  configuration.SetFolders(folder / "data/one/two", folder / "state/");
  const mode_t mask = umask(0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(configuration.ApplicationSupportPath("cache.dat"), folder / "data/one/two/cache.dat");
    EXPECT_EQ(fs::status(folder / "data/one").permissions(), fs::perms(0777));
    fs::remove_all(folder / "data");
  }
  umask(mask);
  EXPECT_EQ(configuration.LogsPath("x"), folder / "state/x");
  test::WriteAll(folder / "file", "in the way");
  for (const char* blocked : {"file", "file/one/two"}) {
    configuration.SetFolders(folder / blocked, "");
    EXPECT_EQ(configuration.ApplicationSupportPath(), "") << blocked;
  }
}

}  // namespace
}  // namespace quill
