// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/base64m.h"

#include <gtest/gtest.h>

#include <random>

namespace quill {
namespace {

std::vector<uint8_t> Bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

TEST(Base64MTest, KnownTexts) {
  const std::pair<std::vector<uint8_t>, std::string> cases[] = {
      {Bytes("f"), "Zg"},           {Bytes("fo"), "Zm8"},         {Bytes("foo"), "Zm9v"},
      {Bytes("foob"), "Zm9vYg"},    {Bytes("fooba"), "Zm9vYmE"},  {Bytes("foobar"), "Zm9vYmFy"},
      {{0xFB, 0xEF, 0xBE}, "****"}, {{0xFF, 0xFF, 0xFF}, "----"}, {{0xFF}, "-w"},
      {{0, 0, 0}, "AAAA"},
  };
  for (const auto& [bytes, text] : cases) {
    std::string encoded = "old";
    EXPECT_TRUE(EncodeBase64M(bytes, 0, &encoded));
    EXPECT_EQ(encoded, text);
    std::vector<uint8_t> decoded{1, 2};
    EXPECT_TRUE(DecodeBase64M(text, &decoded));
    EXPECT_EQ(decoded, bytes);
  }
}

TEST(Base64MTest, RoundTripWithLinesOfAnyLength) {
  std::mt19937 random(4648);
  for (size_t length = 1; length < 70; ++length) {
    std::vector<uint8_t> bytes(length);
    for (auto& byte : bytes) byte = static_cast<uint8_t>(random());
    std::string plain;
    ASSERT_TRUE(EncodeBase64M(bytes, 0, &plain));
    for (const uint32_t lineLength : {1u, 4u, 5u, 8u, 19u, 76u}) {
      const size_t line = (lineLength + 3) / 4 * 4;
      std::string expected;
      for (size_t i = 0; i < plain.size(); i += line) {
        expected += plain.substr(i, line);
        if (i + line <= plain.size()) expected += "\r\n";
      }
      std::string text;
      std::vector<uint8_t> back;
      ASSERT_TRUE(EncodeBase64M(bytes, lineLength, &text) && DecodeBase64M(text, &back));
      ASSERT_EQ(text, expected);
      ASSERT_EQ(back, bytes);
    }
  }
}

TEST(Base64MTest, BlanksAnywhereAndForeignCharactersNowhere) {
  std::vector<uint8_t> bytes;
  for (size_t at = 0; at <= 7; ++at) {
    const auto decode = [&](std::string_view inserted) {
      return DecodeBase64M(std::string("Zm9vYmE").insert(at, inserted), &bytes);
    };
    EXPECT_TRUE(decode("\r\n \t"));
    EXPECT_EQ(bytes, Bytes("fooba"));
    for (const char foreign : {'+', '/', '=', '\0', '\v', '\xC3'})
      EXPECT_FALSE(decode({&foreign, 1})) << at << foreign;
  }
  std::string text;
  EXPECT_FALSE(EncodeBase64M({}, 0, &text));
  EXPECT_FALSE(EncodeBase64M({1}, 0, nullptr));
  EXPECT_FALSE(DecodeBase64M("AA", nullptr));
  for (const char* bad : {"", "A", "Zm9vY \r\n"}) EXPECT_FALSE(DecodeBase64M(bad, &bytes)) << bad;
}

}  // namespace
}  // namespace quill
