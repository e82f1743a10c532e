// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/file_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>

#include "report_log.h"
#include "short_disk.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using namespace test;

constexpr uint32_t kWindow = CFileMap::kWindow;

// Stores and looks all over a few windows must be those of a plain buffer.
TEST(FileMap, RandomUseLeavesTheBytesOfAPlainBuffer) {
  CTempFolder folder;
  std::mt19937 random(7);
  std::string oracle(1000, 'o');
  WriteAll(folder / "f", oracle);
  for (int round = 0; round < 20; ++round) {
    CFileMap map;
    ASSERT_TRUE(map.Open(folder / "f", false));
    for (int step = 0; step < 200; ++step) {
      const uint32_t near = random() % 4 * kWindow + random() % 65 - 32;
      const uint32_t offset = random() % 2 ? static_cast<uint32_t>(oracle.size())
                                           : std::min<uint32_t>(near, 4 * kWindow);
      const uint32_t length = random() % 50 == 0 ? random() % (2 * kWindow) : random() % 64;
      if (random() % 100 == 0) {
        ASSERT_TRUE(map.SetEnd(offset));
        oracle.resize(offset);
      }
      uint8_t* const bytes = map.Map(offset, length);
      ASSERT_NE(bytes, nullptr);
      oracle.resize(std::max<size_t>(oracle.size(), size_t{offset} + length));
      ASSERT_EQ(map.Size(), oracle.size());
      ASSERT_EQ(std::memcmp(bytes, oracle.data() + offset, length), 0);
      for (uint32_t i = 0; i < length; ++i)
        oracle[offset + i] = static_cast<char>(bytes[i] = static_cast<uint8_t>(random()));
    }
    map.Close();
    EXPECT_EQ(map.Size(), 0u);
    ASSERT_TRUE(ReadAll(folder / "f") == oracle) << "round " << round;
  }
}

TEST(FileMap, ReadOnlyEndsAtTheContent) {
  for (const uint32_t size : {0u, 1u, 4096u, kWindow, kWindow + 1}) {
    SCOPED_TRACE(size);
    CTempFolder folder;
    const std::string content(size, 'x');
    WriteAll(folder / "f", content);
    CReportLog log;
    CFileMap map;
    ASSERT_TRUE(map.Open(folder / "f", true));
    EXPECT_NE(map.Map(size, 0), nullptr);
    uint8_t* const all = map.Map(0, size);
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(std::memcmp(all, content.data(), size), 0);
    EXPECT_EQ(log.Take(), "");
    EXPECT_EQ(map.Map(0, size + 1), nullptr);
    EXPECT_EQ(map.Map(size, 1), nullptr);
    EXPECT_FALSE(map.SetEnd(0));
    EXPECT_EQ(map.Size(), size);
    map.Close();
    EXPECT_EQ(log.Take(), "Map:150 Map:150 SetEnd:124 ");
    EXPECT_EQ(ReadAll(folder / "f"), content);
  }
}

TEST(FileMap, NeedsAFileAndStopsBelowFourGigabytes) {
  CTempFolder folder;
  CReportLog log;
  CFileMap map;
  EXPECT_EQ(map.Map(0, 1), nullptr);
  EXPECT_FALSE(map.SetEnd(0));
  EXPECT_FALSE(map.Open(folder / "none", true));
  EXPECT_FALSE(map.Open(folder / "none/f", false));
  EXPECT_EQ(log.Take(), "Map:149 SetEnd:125 Open:102 Open:102 ");
  ASSERT_TRUE(map.Open(folder / "f", false));
  ASSERT_NE(map.Map(0, 1), nullptr);
  EXPECT_EQ(map.Map(UINT32_MAX, 1), nullptr);
  EXPECT_EQ(map.Map(UINT32_MAX - 10, 100), nullptr);
  EXPECT_EQ(map.Map(100, UINT32_MAX), nullptr);
  EXPECT_EQ(log.Take(), "Map:164 Map:164 Map:164 ");
  EXPECT_EQ(map.Size(), 1u);
  // The last byte that has an offset and an end; the file is a hole but for its last window.
  uint8_t* const last = map.Map(UINT32_MAX - 1, 1);
  ASSERT_NE(last, nullptr);
  *last = 1;
  EXPECT_EQ(map.Map(UINT32_MAX - 1, 2), nullptr);
  EXPECT_EQ(map.Size(), UINT32_MAX);
  map.Close();
  EXPECT_EQ(std::filesystem::file_size(folder / "f"), UINT32_MAX);

  std::filesystem::resize_file(folder / "f", uint64_t{UINT32_MAX} + 2);
  EXPECT_EQ(log.Take(), "Map:164 ");
  EXPECT_FALSE(map.Open(folder / "f", false));
  EXPECT_EQ(log.Take(), "Open:102 ");
  EXPECT_EQ(std::filesystem::file_size(folder / "f"), uint64_t{UINT32_MAX} + 2);
}

TEST(FileMap, AFailedGrowthIsReportedAndCutBack) {
  CTempFolder folder;
  EXPECT_EQ(InChild([&] {
              CReportLog log;
              CFileMap map;
              if (!map.Open(folder / "f", false)) return 1;
              uint8_t* bytes = map.Map(0, 100);
              if (bytes == nullptr) return 2;
              std::memset(bytes, 'a', 100);
              {
                const CShortDisk disk(kWindow + 10);
                if (map.Map(100, kWindow) != nullptr) return 3;
              }
              if (log.Take() != "Map:164 ") return 4;
              if (map.Size() != 100 || std::filesystem::file_size(folder / "f") != 100) return 5;
              bytes = map.Map(99, 1);
              return bytes != nullptr && *bytes == 'a' ? 0 : 6;
            }),
            0);
  EXPECT_EQ(ReadAll(folder / "f"), std::string(100, 'a'));
}

// Without reserved blocks each of these would be a SIGBUS at the store.
TEST(FileMap, AFullDiskIsAFailedMap) {
  CTempFolder folder;
  constexpr int kNotAllowed = 77;
  const int result = InChild([&] {
    if (!test::MountSmallDisk(folder.Path(), 256)) return kNotAllowed;
    WriteAll(folder / "g", "x");
    std::filesystem::resize_file(folder / "g", 10 * kWindow);
    {
      CFileMap map;
      if (!map.Open(folder / "f", false)) return 1;
      uint32_t stored = 0;
      for (uint32_t offset = 0;; offset += kWindow) {
        uint8_t* const bytes = map.Map(offset, kWindow);
        if (bytes == nullptr) break;
        std::memset(bytes, 'a', kWindow);
        stored += kWindow;
        if (stored > 256 * 1024) return 2;
      }
      if (stored == 0 || map.Size() != stored) return 3;
    }
    const uint64_t stored = std::filesystem::file_size(folder / "f");
    if (ReadAll(folder / "f") != std::string(stored, 'a')) return 4;
    // A hole in an older file needs room as well.
    CFileMap holes;
    if (!holes.Open(folder / "g", false)) return 5;
    for (uint32_t offset = 0; offset < 10 * kWindow; offset += kWindow) {
      uint8_t* const bytes = holes.Map(offset, kWindow);
      if (bytes == nullptr) return 0;
      std::memset(bytes, 'b', kWindow);
    }
    return 6;
  });
  if (result == kNotAllowed) GTEST_SKIP() << "no small disk can be mounted here";
  EXPECT_EQ(result, 0);
}

TEST(FileMap, GrowsByWindowsAndIsCutBackAtClose) {
  CTempFolder folder;
  WriteAll(folder / "f", std::string(kWindow, 'x'));
  CFileMap map;
  ASSERT_TRUE(map.Open(folder / "f", false));
  EXPECT_NE(map.Map(kWindow, 0), nullptr);
  EXPECT_EQ(map.Size(), kWindow);
  uint8_t* const byte = map.Map(kWindow, 1);
  ASSERT_NE(byte, nullptr);
  *byte = 'y';
  EXPECT_EQ(std::filesystem::file_size(folder / "f"), 2 * kWindow);
  map.Close();
  EXPECT_EQ(ReadAll(folder / "f"), std::string(kWindow, 'x') + "y");
  EXPECT_EQ(map.Size(), 0u);
}

}  // namespace
}  // namespace quill
