// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop_services.h"

#include <gtest/gtest.h>

namespace quill {
namespace {

TEST(DesktopServices, UrlKeepsEveryByteOfThePath) {
  EXPECT_EQ(FileUrl("/home/ann/a-b_c.~1/x.mp3"), "file:///home/ann/a-b_c.~1/x.mp3");
  EXPECT_EQ(FileUrl("/a b/50%#?.mp3"), "file:///a%20b/50%25%23%3F.mp3");
  EXPECT_EQ(FileUrl("/\xFF\xC3\xA9\n"), "file:///%FF%C3%A9%0A") << "also bytes that are no text";
}

}  // namespace
}  // namespace quill
