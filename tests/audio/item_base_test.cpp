// SPDX-License-Identifier: GPL-3.0-or-later
#include "audio/item_base.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace quill {
namespace {

TEST(NormaliseKey, KeepsWhatTellsTextsApart) {
  struct Case {
    const char* text;
    std::u32string key;
  };
  const std::array<Case, 10> cases = {{
      {"AC/DC - T.N.T.", U"acdctnt"},
      {"acdc tnt", U"acdctnt"},
      {" \t(!)_[]\x7f", U""},
      {"Björk: Jóga", U"björkjóga"},
      {"ÄÖÜ", U"äöü"},
      {"ΟΔΥΣΣΕΥΣ", U"οδυσσευς"},           // a sigma that ends the text has a form of its own
      {"İZMİR I", U"i\u0307zmi\u0307ri"},  // not the dotless i of a Turkish locale
      {"ЩЁ 日本", U"щё日本"},
      {"\U00010400", U"\U00010428"},            // beyond 16 bits
      {"No. 1 \xE2\x80\x94 A", U"no1\u2014a"},  // only ASCII punctuation goes
  }};
  for (const Case& c : cases) EXPECT_EQ(NormaliseKey(c.text), c.key) << c.text;
}

TEST(NormaliseKey, TextThatIsNotUtf8HasNoKey) {
  for (const char* text : {"abc\xff", "cut\xc3", "\xc0\x80", "\xed\xa0\x80"})
    EXPECT_EQ(NormaliseKey(text), U"") << text;
}

TEST(FileStem, CutsFolderAndExtension) {
  struct Case {
    const char* path;
    const char* stem;
  };
  const std::array<Case, 8> cases = {{
      {"/music/Song.mp3", "Song"},
      {"/music/a.b.flac", "a.b"},
      {"/music.d/Song", "Song"},
      {"/music/.hidden", ".hidden"},
      {"/music/.hidden.mp3", ".hidden"},
      {"/music/end.", "end"},
      {"plain.ogg", "plain"},
      {"/music/", ""},
  }};
  for (const Case& c : cases) EXPECT_EQ(FileStem(c.path), c.stem) << c.path;
}

}  // namespace
}  // namespace quill
