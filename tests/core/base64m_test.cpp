#include "core/base64m.h"

#include <gtest/gtest.h>

#include <random>

namespace quill {
namespace {

std::vector<uint8_t> Bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

TEST(Base64MTest, KnownTexts) {
  const struct {
    std::vector<uint8_t> bytes;
    std::string text;
  } cases[] = {
      {Bytes("f"), "Zg"},           {Bytes("fo"), "Zm8"},         {Bytes("foo"), "Zm9v"},
      {Bytes("foob"), "Zm9vYg"},    {Bytes("fooba"), "Zm9vYmE"},  {Bytes("foobar"), "Zm9vYmFy"},
      {{0xFB, 0xEF, 0xBE}, "****"}, {{0xFF, 0xFF, 0xFF}, "----"}, {{0xFF}, "-w"},
      {{0, 0, 0}, "AAAA"},
  };
  for (const auto& c : cases) {
    std::string text = "old";
    EXPECT_TRUE(EncodeBase64M(c.bytes, 0, &text));
    EXPECT_EQ(text, c.text);
    std::vector<uint8_t> bytes{1, 2};
    EXPECT_TRUE(DecodeBase64M(c.text, &bytes));
    EXPECT_EQ(bytes, c.bytes);
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
      ASSERT_TRUE(EncodeBase64M(bytes, lineLength, &text));
      ASSERT_EQ(text, expected);
      std::vector<uint8_t> back;
      ASSERT_TRUE(DecodeBase64M(text, &back));
      ASSERT_EQ(back, bytes);
    }
  }
}

TEST(Base64MTest, BlanksAnywhereAndForeignCharactersNowhere) {
  const std::string text = "Zm9vYmE";
  for (size_t at = 0; at <= text.size(); ++at) {
    std::vector<uint8_t> bytes;
    std::string broken = text;
    broken.insert(at, "\r\n \t");
    EXPECT_TRUE(DecodeBase64M(broken, &bytes));
    EXPECT_EQ(bytes, Bytes("fooba"));
    for (const char foreign : {'+', '/', '=', '\0', '\v', '\xC3'}) {
      broken = text;
      broken.insert(at, 1, foreign);
      EXPECT_FALSE(DecodeBase64M(broken, &bytes)) << at << foreign;
    }
  }
}

TEST(Base64MTest, NothingAndALoneCharacterFail) {
  std::string text;
  std::vector<uint8_t> bytes;
  EXPECT_FALSE(EncodeBase64M({}, 0, &text));
  EXPECT_FALSE(EncodeBase64M({1}, 0, nullptr));
  EXPECT_FALSE(DecodeBase64M("", &bytes));
  EXPECT_FALSE(DecodeBase64M("AA", nullptr));
  EXPECT_FALSE(DecodeBase64M("A", &bytes));
  EXPECT_FALSE(DecodeBase64M("Zm9vY \r\n", &bytes));
}

}  // namespace
}  // namespace quill
