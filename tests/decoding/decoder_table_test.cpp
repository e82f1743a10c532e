// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/decoder_table.h"

#include <gtest/gtest.h>

#include <string>

#include "decoding/link_test.h"

namespace quill {
namespace {

using test::LinkTest;

class DecoderTableTest : public LinkTest {
 protected:
  // The table as text after the setting was loaded.
  static std::string Loaded() {
    CDecoderTable::Rows rows;
    EXPECT_TRUE(CDecoderTable::LoadDecoders(&rows));
    std::string text;
    for (const wire::DecoderRow& row : rows) {
      text += std::to_string(row.id) + (row.enabled ? "+" : "-") + row.extensions + "|";
    }
    return text;
  }
  static void Set(const std::vector<std::string>& list) {
    CConfiguration::Instance().SetList("audioDecoders", list);
  }
};

TEST_F(DecoderTableTest, SettingOrdersAndSwitchesTheRows) {
  const std::string defaults = "5+fla flac|8+ogg oga|6+ape|9+wv wvc|7+mpc mpp mp+|11+*|";
  EXPECT_EQ(Loaded(), defaults);
  Set({});
  EXPECT_EQ(Loaded(), "5-|8-|6-|9-|7-|11-|");
  // The general row comes to the second place by a swap, so the row from there lies last.
  Set({"5", "1", "flac", "11", "1", "*"});
  EXPECT_EQ(Loaded(), "5+flac|11+*|6-|9-|7-|8-|");
  // Unknown ids, a second entry of one id and an incomplete entry leave no trace.
  Set({"99", "1", "x", "7", "0", "mpc", "7", "1", "mpc", "x", "1", "y", "6", "yes", "ape", "9",
       "1"});
  EXPECT_EQ(Loaded(), "7-mpc|6-ape|8-|9-|5-|11-|");
  Set({"6", "1", std::string(300, 'a')});
  EXPECT_EQ(Loaded(), "6+" + std::string(199, 'a') + "|8-|5-|9-|7-|11-|");

  CDecoderTable::Rows rows;
  EXPECT_TRUE(CDecoderTable::LoadDefaults(&rows));
  std::swap(rows[0], rows[5]);
  Set(CDecoderTable::ToSetting(rows));
  EXPECT_EQ(Loaded(), "11+*|8+ogg oga|6+ape|9+wv wvc|7+mpc mpp mp+|5+fla flac|");
}

TEST_F(DecoderTableTest, GenerationMovesOnlyWithARealChange) {
  const uint32_t first = m_table.Generation();
  EXPECT_EQ(first, 1U);  // from the empty table
  CDecoderTable::Rows rows;
  EXPECT_TRUE(CDecoderTable::LoadDecoders(&rows));
  Set(CDecoderTable::ToSetting(rows));  // what saving unchanged preferences writes
  m_table.Reload();
  EXPECT_EQ(m_table.Generation(), first);

  const auto changed = [&](auto change) {
    CDecoderTable::Rows other = rows;
    change(other);
    Set(CDecoderTable::ToSetting(other));
    const uint32_t before = m_table.Generation();
    m_table.Reload();
    return m_table.Generation() - before;
  };
  EXPECT_EQ(changed([](auto& other) { std::swap(other[1], other[2]); }), 1U);
  EXPECT_EQ(changed([](auto& other) { other[3].enabled = 0; }), 1U);
  EXPECT_EQ(changed([](auto& other) { other[5].extensions[0] = 'q'; }), 1U);
}

TEST_F(DecoderTableTest, NamesAndNullTables) {
  EXPECT_STREQ(CDecoderTable::Name(1), "Windows Media Format (WMF)");
  EXPECT_STREQ(CDecoderTable::Name(8), "Ogg Vorbis");
  EXPECT_STREQ(CDecoderTable::Name(13), "Apple Image I/O");
  for (const uint32_t id : {0U, 14U, ~0U}) EXPECT_STREQ(CDecoderTable::Name(id), "Unknown");
  EXPECT_FALSE(CDecoderTable::LoadDefaults(nullptr));
  EXPECT_FALSE(CDecoderTable::LoadDecoders(nullptr));
  EXPECT_EQ(Reports(), "LoadDefaults LoadDecoders ");
}

}  // namespace
}  // namespace quill
