// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/safe_text.h"

#include <gtest/gtest.h>

namespace quill::cli {
namespace {

TEST(SafeText, NamesCannotSteerATerminal) {
  EXPECT_EQ(TerminalText("Köln – 日本.mp3"), "Köln – 日本.mp3");
  EXPECT_EQ(TerminalText("a\x1b[2Jb\nc"), "a\\x1B[2Jb\\x0Ac");
  EXPECT_EQ(TerminalText("x\xc2\x9b"
                         "31m"),
            "x\\xC2\\x9B31m")
      << "a C1 control";
  EXPECT_EQ(TerminalText("caf\xe9.mp3"), "caf\\xE9.mp3") << "Latin-1";
}

TEST(SafeText, JsonStaysValidForAnyBytes) {
  EXPECT_EQ(JsonText("a\"b\\c\n\x01"), "\"a\\\"b\\\\c\\u000a\\u0001\"");
  EXPECT_EQ(JsonText("caf\xe9"), "\"caf\\\\xE9\"");
  // Overlong form, surrogate, above U+10FFFF, cut sequence.
  EXPECT_EQ(JsonText("\xc0\xaf"), "\"\\\\xC0\\\\xAF\"");
  EXPECT_EQ(JsonText("\xed\xa0\x80"), "\"\\\\xED\\\\xA0\\\\x80\"");
  EXPECT_EQ(JsonText("\xf4\x90\x80\x80"), "\"\\\\xF4\\\\x90\\\\x80\\\\x80\"");
  EXPECT_EQ(JsonText("\xe6\x97"), "\"\\\\xE6\\\\x97\"");
  EXPECT_EQ(JsonText("日本"), "\"日本\"");
}

TEST(SafeText, ScoresThatWereNotComputedAreNull) {
  EXPECT_EQ(JsonScore(-1.0F), "null");
  EXPECT_EQ(JsonScore(0.0F), "0");
  EXPECT_EQ(JsonScore(0.75F), "0.75");
}

}  // namespace
}  // namespace quill::cli
