// SPDX-License-Identifier: GPL-3.0-or-later
// A volume of the test's own, in memory, for tests of what crosses volumes or fills one. It is seen
// by a child process only, so that no trash on a volume of the machine is touched.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>

#include "storage/short_disk.h"
#include "support/temp_folder.h"

namespace quill::test {

// In a user namespace of its own a process has no number to own files by until it is told.
inline void KeepUser(uid_t user, gid_t group) {
  if (getuid() == user) return;
  const auto write = [](const char* path, const std::string& text) {
    if (std::FILE* const file = std::fopen(path, "w")) {
      std::fputs(text.c_str(), file);
      std::fclose(file);
    }
  };
  write("/proc/self/uid_map", std::to_string(user) + " " + std::to_string(user) + " 1");
  write("/proc/self/setgroups", "deny");
  write("/proc/self/gid_map", std::to_string(group) + " " + std::to_string(group) + " 1");
}

// Runs the body in a child process; its failed expectations fail the test.
template <class Body>
void ExpectInChild(Body body) {
  std::fflush(stdout);
  const int result = InChild([&] {
    body();
    std::fflush(stdout);
    return testing::Test::HasFailure() ? 1 : 0;
  });
  EXPECT_EQ(result, 0);
}

// The same with `folder` as the top of a volume of `kilobytes`. The last thing that a test does: it
// is skipped where the system allows no such volume.
template <class Body>
void WithVolume(const std::string& folder, uint32_t kilobytes, Body body) {
  constexpr int kNotAllowed = 77;
  std::filesystem::create_directories(folder);
  std::fflush(stdout);
  const int result = InChild([&] {
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (!MountSmallDisk(folder, kilobytes)) return kNotAllowed;
    KeepUser(user, group);
    body();
    std::fflush(stdout);
    return testing::Test::HasFailure() ? 1 : 0;
  });
  if (result == kNotAllowed)
    GTEST_SKIP() << "NOT TESTED: this system lets no test mount a volume of its own";
  EXPECT_EQ(result, 0);
}

// The names in a folder, in order, with a blank behind each.
[[nodiscard]] inline std::string Names(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.insert(entry.path().filename().native());
  std::string text;
  for (const std::string& name : names) text += name + " ";
  return text;
}

}  // namespace quill::test
