// SPDX-License-Identifier: GPL-3.0-or-later
// The information record: texts as their writers left them, always valid UTF-8.
#include "decoder/decoder_test.h"

namespace quill {
namespace {

using test::DecoderTest;

TEST_F(DecoderTest, TellsTagsOfEveryTagStandard) {
  const std::string tags =
      "-metadata 'title=Tïtle' -metadata 'artist=Ärtist' -metadata 'album=Älbum'";
  const char* files[] = {"a.mp3", "a.flac", "a.ogg", "a.opus", "a.m4a", "a.wma", "a.wv", "a.mka"};
  for (const char* file : files) {
    const test::Sound sound = Decode(Encoded(file, tags));
    EXPECT_STREQ(sound.info.title, "Tïtle") << file;
    EXPECT_STREQ(sound.info.artist, "Ärtist") << file;
    EXPECT_STREQ(sound.info.album, "Älbum") << file;
  }
}

TEST_F(DecoderTest, TakesOldTagsAsLatin1) {
  std::string tag("TAG");
  tag += "Caf\xE9";
  tag.resize(3 + 30);
  tag += "Bj\xF6rk";
  tag.resize(128);
  const std::string path = Encoded("a.mp3", "-id3v2_version 0 -map_metadata -1");
  test::WriteAll(path, test::ReadAll(path) + tag);
  const test::Sound sound = Decode(path);
  EXPECT_STREQ(sound.info.title, "Café");
  EXPECT_STREQ(sound.info.artist, "Björk");
  EXPECT_STREQ(sound.info.album, "");
}

// A record that ends inside a character would make every text key built from it invalid.
TEST_F(DecoderTest, CutsLongTextsAtACharactersBorder) {
  for (size_t lead : {0u, 1u, 2u, 3u}) {
    std::string title(lead, 'x');
    while (title.size() < 600) title += "日";  // three bytes each
    const test::Sound sound = Decode(Encoded("a.flac", "-metadata 'title=" + title + "'"));
    const size_t length = std::strlen(sound.info.title);
    EXPECT_EQ(length, lead + (511 - lead) / 3 * 3);
    EXPECT_EQ(title.compare(0, length, sound.info.title), 0);
  }
}

}  // namespace
}  // namespace quill
