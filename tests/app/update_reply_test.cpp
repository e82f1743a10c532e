// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/update_reply.h"

#include <gtest/gtest.h>

#include <string>

namespace quill {
namespace {

TEST(UpdateReply, ReadsWhatTheServerMaySay) {
  struct Case {
    std::string reply;
    std::string version;  // empty when it is refused
  };
  const Case cases[] = {
      {"Quillmarsh:1.9.2.1941:OK", "1.9.2.1941"},
      {"Quillmarsh: 2.\t0 and words:OK and more", "2.0.0.0"},
      {"Quillmarsh:7:OK", "7.0.0.0"},
      {"Quillmarsh:1.:OK", "1.0.0.0"},
      {"Quillmarsh:65537.1:OK", "1.1.0.0"},
      {"Quillmarsh:1.2.3.4.5:OK", "1.2.3.4"},
      {"Quillmarsh:x:OK", ""},
      {"Quillmarsh:1.2:NO", ""},
      {"Quillmarsh:1.2", ""},
      {"Quillmarsh:", ""},
      {"quillmarsh:1.2:OK", ""},
      {"<html>", ""},
      {"", ""},
  };
  for (const Case& one : cases) {
    ProgramVersion version;
    const bool read = ParseUpdateData(one.reply.data(), one.reply.size(), &version.major,
                                      &version.minor, &version.release, &version.build);
    EXPECT_EQ(read, !one.version.empty()) << one.reply;
    if (read) {
      EXPECT_EQ(VersionText(version), one.version) << one.reply;
    }
  }
}

TEST(UpdateReply, NewerIsAHigherNumberFurtherLeft) {
  const ProgramVersion own{1, 9, 2, 1940};
  for (const ProgramVersion& newer : {ProgramVersion{1, 9, 2, 1941}, {1, 9, 3, 0}, {1, 10}, {2}})
    EXPECT_TRUE(IsNewer(newer, own)) << VersionText(newer);
  for (const ProgramVersion& older : {own, ProgramVersion{0, 9, 9, 9999}, {1, 9, 2}, {1, 8, 9}})
    EXPECT_FALSE(IsNewer(older, own)) << VersionText(older);
}

}  // namespace
}  // namespace quill
