// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/tag_access.h"

#include <gtest/gtest.h>

#include "decoding/link_test.h"

namespace quill {
namespace {

class TagAccessTest : public test::LinkTest {
 protected:
  int32_t Read(const std::string& script) {
    return m_tags.GetProperties(script, 0, &m_title, nullptr, nullptr, nullptr, nullptr, nullptr,
                                &m_track);
  }

  CTagAccess m_tags{m_table, FAKE_DECODER};
  std::string m_title = "kept";
  uint32_t m_track = 9;
};

// The editor must not show one file's tags as another's, nor take a write for done that was not.
TEST_F(TagAccessTest, ChildOutOfStepIsReplaced) {
  const std::string honest =
      Script({"tags-read reply =Title =b =c =d =e 1997 7", "tags-write status 0"});
  const test::Lines kMessage{"Decoder process answers out of step"};
  EXPECT_EQ(Read(Script({"tags-read id 12", "tags-read reply =x =b =c =d =e 1 2"})),
            kDecodeLinkFailed);
  EXPECT_EQ(m_title, "kept");
  EXPECT_EQ(m_track, 9U);
  EXPECT_EQ(Messages(), kMessage);
  EXPECT_EQ(Read(honest), 0);
  EXPECT_EQ(m_title, "Title");
  EXPECT_EQ(m_track, 7U);

  const auto write = [&](const std::string& script) {
    const std::string title = "New";
    const uint32_t year = 2001;
    return m_tags.SetProperties(script, 0, &title, nullptr, nullptr, nullptr, nullptr, &year,
                                nullptr);
  };
  EXPECT_EQ(write(Script({"tags-write id 11", "tags-write status 0"})), kDecodeLinkFailed);
  EXPECT_EQ(Messages(), kMessage);
  EXPECT_EQ(write(Script({"tags-write twice", "tags-write status 0"})), 0);
  EXPECT_EQ(write(Script({"tags-write status 5"})), 5);
  EXPECT_EQ(Messages(), kMessage);
  EXPECT_EQ(write(honest), 0);
}

}  // namespace
}  // namespace quill
