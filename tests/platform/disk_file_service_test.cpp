// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/disk_file_service.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>
#include <tuple>

#include "core/kernel_interface.h"
#include "core/log.h"
#include "second_volume.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

namespace fs = std::filesystem;
using test::Names;
using test::ReadAll;
using test::WriteAll;

// No test may reach the trash of who runs it.
class DiskFileService : public testing::Test {
 protected:
  DiskFileService() {
    setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1);
    CLog::Instance().SetFolder(m_folder / "logs");
  }
  ~DiskFileService() override {
    CLog::Instance().SetFolder({});
    unsetenv("XDG_DATA_HOME");
  }

  test::CTempFolder m_folder;
};

class NoPerson : public CFileQuestions {
 public:
  bool Confirm(const std::string&, const std::string&, const std::string&) override {
    return false;
  }
  std::string ChooseMoveFolder() override { return {}; }
  bool Perform(const std::string&, size_t, size_t, const std::function<void()>&) override {
    return false;
  }
  void Finished(const std::vector<std::string>&) override {}
};

// From now on the system call fails in this process as on a file system that does not know it.
[[nodiscard]] bool RefuseSystemCall(uint32_t number, uint32_t error) {
  // The filter's instructions as the kernel reads them, whose headers need not compile as C++.
  struct Instruction {
    uint16_t code;
    uint8_t ifTrue, ifFalse;
    uint32_t value;
  };
  constexpr int kModeFilter = 2;
  const Instruction filter[] = {
      {0x20, 0, 0, 0},                   // load the number of the call
      {0x15, 0, 1, number},              // is it this one?
      {0x06, 0, 0, 0x00050000 | error},  // it fails with the error
      {0x06, 0, 0, 0x7FFF0000},          // any other goes on
  };
  const struct {
    uint16_t length;
    const Instruction* instructions;
  } program = {std::size(filter), filter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, kModeFilter, &program) == 0;
}

// Whatever has the target's name stays as it is, and so does the source.
void ExpectNothingIsOverwritten(const std::string& folder) {
  CDiskFileService service;
  const std::string from = folder + "/\xFF\n from.mp3";
  WriteAll(from, "source");
  WriteAll(folder + "/file", "target");
  fs::create_directory(folder + "/folder");
  fs::create_symlink("nowhere", folder + "/dangling");
  fs::create_hard_link(from, folder + "/same");
  for (const char* name : {"/file", "/folder", "/dangling", "/same", "/\xFF\n from.mp3"}) {
    EXPECT_EQ(service.Rename(from, folder + name), EEXIST) << name;
    EXPECT_EQ(service.Move(from, folder + name), EEXIST) << name;
  }
  EXPECT_EQ(ReadAll(from), "source");
  EXPECT_EQ(ReadAll(folder + "/file"), "target");
  EXPECT_TRUE(fs::is_symlink(folder + "/dangling"));
  EXPECT_EQ(fs::hard_link_count(from), 2U);
  EXPECT_EQ(service.Move(folder + "/folder", folder + "/other"), EISDIR);
  EXPECT_EQ(service.Move(folder + "/gone", folder + "/other"), ENOENT);
  EXPECT_EQ(service.Move(from, folder + "/no/other"), ENOENT);

  const std::string to = folder + "/t\xE9";
  EXPECT_EQ(service.Rename(from, to), 0);
  EXPECT_FALSE(fs::exists(from));
  EXPECT_EQ(service.Move(to, folder + "/folder/t"), 0);
  EXPECT_EQ(ReadAll(folder + "/folder/t"), "source");
  EXPECT_EQ(service.Trash(folder + "/folder/t"), 0);
  EXPECT_EQ(service.Trash(folder + "/file"), 0);
  EXPECT_EQ(Names(folder), "dangling folder same ");
}

TEST_F(DiskFileService, NothingIsOverwritten) {
  ExpectNothingIsOverwritten(m_folder / "a");
  EXPECT_EQ(ReadAll(m_folder / "data/Trash/files/t"), "source");
}

TEST_F(DiskFileService, NothingIsOverwrittenWhereTheDiskKnowsNoSuchRename) {
  test::ExpectInChild([&] {
    ASSERT_TRUE(RefuseSystemCall(SYS_renameat2, EINVAL));
    ExpectNothingIsOverwritten(m_folder / "a");
    // Nor links: then it is refused.
    ASSERT_TRUE(RefuseSystemCall(SYS_link, EPERM));
    CDiskFileService service;
    WriteAll(m_folder / "f", "F");
    EXPECT_EQ(service.Rename(m_folder / "f", m_folder / "g"), EPERM);
    EXPECT_EQ(service.Trash(m_folder / "f"), EPERM);
    EXPECT_EQ(ReadAll(m_folder / "f"), "F");
    EXPECT_FALSE(fs::exists(m_folder / "data/Trash/info/f.trashinfo"));
  });
}

TEST_F(DiskFileService, ReadOnlyFolderRefuses) {
  WriteAll(m_folder / "locked/f", "F");
  fs::create_directory(m_folder / "data");
  fs::permissions(m_folder / "data", fs::perms::all);
  std::ignore = chown((m_folder / "locked/f").c_str(), 65534, 65534);  // links need its owner
  fs::permissions(m_folder / "locked", fs::perms(0555));
  fs::permissions(m_folder.Path(), fs::perms(0755));
  test::ExpectInChild([&] {
    // Nothing is forbidden to root.
    ASSERT_TRUE(geteuid() != 0 || setresuid(65534, 65534, 65534) == 0);
    CDiskFileService service;
    EXPECT_EQ(service.Rename(m_folder / "locked/f", m_folder / "locked/g"), EACCES);
    EXPECT_EQ(service.Move(m_folder / "locked/f", m_folder / "data/g"), EACCES);
    EXPECT_EQ(service.Trash(m_folder / "locked/f"), EACCES);
    EXPECT_EQ(Names(m_folder / "data/Trash/info"), "") << "an info of nothing";
    ASSERT_TRUE(RefuseSystemCall(SYS_renameat2, EINVAL));
    EXPECT_EQ(service.Rename(m_folder / "locked/f", m_folder / "data/g"), EACCES);
    EXPECT_EQ(Names(m_folder / "data"), "Trash ") << "a second name of the file";
  });
  EXPECT_EQ(ReadAll(m_folder / "locked/f"), "F");
}

[[nodiscard]] bool SetFlags(const std::string& path, int flags) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const bool set = file != -1 && ioctl(file, kernel::kSetFileFlags, &flags) == 0;
  if (file != -1) close(file);
  return set;
}

TEST_F(DiskFileService, ImmutableFlagIsTakenOff) {
  CDiskFileService service;
  WriteAll(m_folder / "f", "F");
  EXPECT_NE(service.ClearImmutable(m_folder / "f"), 0) << "nothing to take off, nothing to retry";
  EXPECT_EQ(service.ClearImmutable(m_folder / "gone"), ENOENT);
  if (!SetFlags(m_folder / "f", kernel::kImmutableFlag))
    GTEST_SKIP() << "NOT TESTED: immutable files need a privileged user and a disk that knows them";
  EXPECT_EQ(service.Rename(m_folder / "f", m_folder / "g"), EPERM);
  EXPECT_EQ(service.Trash(m_folder / "f"), EPERM);
  EXPECT_EQ(service.ClearImmutable(m_folder / "f"), 0);
  EXPECT_EQ(service.Rename(m_folder / "f", m_folder / "g"), 0);
  ASSERT_TRUE(SetFlags(m_folder / "g", kernel::kAppendOnlyFlag));
  EXPECT_EQ(service.ClearImmutable(m_folder / "g"), 0);
  EXPECT_NE(service.ClearImmutable(m_folder / "g"), 0) << "the flag is still there";
  // A copy that cannot replace its source goes again.
  ASSERT_TRUE(SetFlags(m_folder / "g", kernel::kImmutableFlag));
  test::WithVolume(m_folder / "volume", 256, [&] {
    EXPECT_EQ(service.Move(m_folder / "g", m_folder / "volume/g"), EPERM);
    EXPECT_EQ(Names(m_folder / "volume"), "");
  });
  EXPECT_EQ(ReadAll(m_folder / "g"), "F");
  EXPECT_EQ(service.ClearImmutable(m_folder / "g"), 0);
}

TEST_F(DiskFileService, MovesAcrossVolumesKeepTheFileAndLeaveNoHalfCopy) {
  const std::string volume = m_folder / "volume";
  test::WithVolume(volume, 4096, [&] {
    CDiskFileService service;
    const std::string from = m_folder / "f\xFF", to = volume + "/t\xFF";
    std::string content(3'500'001, '\0');
    for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * i >> 7);
    const timespec times[2] = {{1'000'000'000, 111'222'333}, {1'234'567'890, 444'555'666}};
    constexpr const char* kAttribute = "user.quillmarsh.test";
    WriteAll(volume + "/probe", "");
    const bool attributes = setxattr((volume + "/probe").c_str(), kAttribute, "v", 1, 0) == 0;
    fs::remove(volume + "/probe");
    const auto make = [&] {
      WriteAll(from, content);
      EXPECT_EQ(chmod(from.c_str(), 0640), 0);
      EXPECT_TRUE(!attributes || setxattr(from.c_str(), kAttribute, "value", 5, 0) == 0);
      EXPECT_EQ(utimensat(AT_FDCWD, from.c_str(), times, 0), 0);
    };
    make();
    EXPECT_EQ(service.Move(from, to), 0);
    EXPECT_FALSE(fs::exists(from));
    EXPECT_EQ(ReadAll(to), content);
    struct stat info{};
    ASSERT_EQ(stat(to.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640U);
    EXPECT_EQ(std::memcmp(&info.st_mtim, &times[1], sizeof times[1]), 0);
    char value[16];
    EXPECT_TRUE(!attributes || getxattr(to.c_str(), kAttribute, value, sizeof value) == 5);
    EXPECT_EQ(Names(volume), "t\xFF ");

    make();
    EXPECT_EQ(service.Move(from, volume + "/new"), ENOSPC) << "room for one copy only";
    EXPECT_EQ(Names(volume), "t\xFF ");
    WriteAll(to, "other");
    EXPECT_EQ(service.Move(from, to), EEXIST);
    EXPECT_EQ(ReadAll(to), "other");
    EXPECT_EQ(service.Rename(from, volume + "/new"), EXDEV);
    fs::create_symlink(from, m_folder / "link");
    EXPECT_EQ(service.Move(m_folder / "link", volume + "/new"), ELOOP);
    EXPECT_EQ(service.Move(from, volume + "/no/new"), ENOENT);
    EXPECT_EQ(ReadAll(from), content);
    EXPECT_EQ(Names(volume), "t\xFF ");
  });
}

// What another program wrote while the copy was made must not go with the source.
TEST_F(DiskFileService, SourceThatChangesMeanwhileStays) {
  test::WithVolume(m_folder / "volume", 65536, [&] {
    CDiskFileService service;
    const std::string from = m_folder / "f", to = m_folder / "volume/f";
    for (int attempt = 0; attempt < 20; ++attempt) {
      WriteAll(from, std::string(16 << 20, 'x'));
      std::atomic<bool> stop = false;
      std::thread writer([&] {
        const int file = open(from.c_str(), O_WRONLY | O_CLOEXEC);
        while (!stop) std::ignore = pwrite(file, "y", 1, 0);
        close(file);
      });
      const int error = service.Move(from, to);
      stop = true;
      writer.join();
      if (error == EBUSY) {
        EXPECT_TRUE(fs::exists(from));
        EXPECT_EQ(Names(m_folder / "volume"), "");
        return;
      }
      EXPECT_EQ(error, 0);
      fs::remove(to);
    }
    ADD_FAILURE() << "never noticed";
  });
}

TEST_F(DiskFileService, SwapsOnDiskAndRefusesAcrossVolumes) {
  CDiskFileService service;
  NoPerson person;
  CFileOperations operations(service, person);
  const std::string a = m_folder / "one/a\xFF.mp3", b = m_folder / "two/b.MP3";
  WriteAll(a, "A");
  WriteAll(b, "B");
  WriteAll(a + ".tmp", "user's");
  EXPECT_TRUE(operations.SwapCallback(a, b));
  EXPECT_EQ(ReadAll(a), "B");
  EXPECT_EQ(ReadAll(b), "A");
  EXPECT_EQ(ReadAll(a + ".tmp"), "user's");
  EXPECT_FALSE(operations.SwapCallback(a, m_folder / "two/gone.mp3"));
  EXPECT_EQ(ReadAll(a), "B");
  test::WithVolume(m_folder / "volume", 256, [&] {
    const std::string far = m_folder / "volume/far.mp3";
    WriteAll(far, "far");
    EXPECT_FALSE(operations.SwapCallback(a, far));
    EXPECT_FALSE(operations.SwapCallback(far, a));
    EXPECT_EQ(ReadAll(a), "B");
    EXPECT_EQ(ReadAll(far), "far");
    EXPECT_EQ(Names(m_folder / "volume"), "far.mp3 ");
  });
  EXPECT_EQ(Names(m_folder / "one"), "a\xFF.mp3 a\xFF.mp3.tmp ");
}

}  // namespace
}  // namespace quill
