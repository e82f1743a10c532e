// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop_trash.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>

#include "second_volume.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

namespace fs = std::filesystem;
using test::Names;
using test::ReadAll;
using test::WriteAll;

std::string Decoded(const std::string& text) {
  std::string path;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool coded = text[i] == '%';
    path += coded ? static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)) : text[i];
    if (coded) i += 2;
  }
  return path;
}

// What a desktop would restore: content by old path. Every file must have its info and the other
// way round.
std::map<std::string, std::string> Restorable(const std::string& trash) {
  std::map<std::string, std::string> files;
  size_t infos = 0;
  for (const auto& entry : fs::directory_iterator(trash + "/info")) {
    const std::string info = entry.path().filename().native();
    const std::string text = ReadAll(entry.path().native());
    // A path of printable ASCII, and a date of exactly this form with nothing behind it.
    char path[4096] = "";
    int end = 0;
    std::sscanf(text.c_str(),
                "[Trash Info]\nPath=%4095[!-~]\nDeletionDate=%*4d-%*2d-%*2dT%*2d:%*2d:%*2d%n", path,
                &end);
    EXPECT_TRUE(end != 0 && text.substr(static_cast<size_t>(end)) == "\n") << text;
    EXPECT_TRUE(info.ends_with(".trashinfo"));
    files[Decoded(path)] = ReadAll(trash + "/files/" + info.substr(0, info.size() - 10));
    EXPECT_EQ(files.size(), ++infos) << "two infos of one path";
  }
  return files;
}

// Its owner's alone.
bool IsPrivate(const std::string& folder) {
  return fs::status(folder).permissions() == fs::perms::owner_all;
}

TEST(DesktopTrash, NamesThatCollideAreAllKept) {
  const test::CTempFolder folder;
  const std::string home = folder / "data/home/Trash";
  const CDesktopTrash trash(home);
  std::map<std::string, std::string> expected;
  constexpr int kCopies = 60;  // past the numbered names
  for (int i = 0; i < kCopies; ++i) {
    const std::string path = folder / ("from" + std::to_string(i) + "/cover.one.jpg");
    WriteAll(path, std::to_string(i));
    expected[fs::canonical(path)] = std::to_string(i);
    // A file whose info is lost must not be overwritten either.
    if (i == 1) WriteAll(home + "/files/cover.one.1.jpg", "orphan");
    EXPECT_EQ(trash.Put(path), 0);
    EXPECT_FALSE(fs::exists(path));
  }
  EXPECT_EQ(Restorable(home), expected);
  EXPECT_EQ(ReadAll(home + "/files/cover.one.1.jpg"), "orphan");
  EXPECT_TRUE(fs::exists(home + "/files/cover.one.2.jpg"));
  for (const char* part : {"data/home/Trash", "data/home/Trash/files", "data/home/Trash/info"})
    EXPECT_TRUE(IsPrivate(folder / part)) << part;
}

TEST(DesktopTrash, AnyNameCanBeRestored) {
  const test::CTempFolder folder;
  const std::string home = folder / "Trash";
  const CDesktopTrash trash(home);
  std::string umlauts;
  for (int i = 0; i < 125; ++i) umlauts += "\xC3\xBC";
  std::map<std::string, std::string> expected;
  for (const std::string& name :
       {std::string("a b%c\n#?\xFF\xFE.mp3"), std::string(".hidden"), std::string("-rf"),
        std::string(255, 'x'), umlauts + ".mp3", "y" + umlauts + ".mp3"}) {
    for (const char* in : {"one", "two"}) {
      const std::string path = folder / in + ("/" + name);
      WriteAll(path, name + in);
      expected[fs::canonical(path)] = name + in;
      EXPECT_EQ(trash.Put(path), 0) << name;
    }
  }
  EXPECT_EQ(Restorable(home), expected);
  EXPECT_TRUE(fs::exists(home + "/files/.hidden.1")) << "a name that is no extension";
  const std::string info = ReadAll(home + "/info/a b%c\n#?\xFF\xFE.mp3.trashinfo");
  EXPECT_NE(info.find("/one/a%20b%25c%0A%23%3F%FF%FE.mp3\n"), std::string::npos) << info;
  for (const auto& entry : fs::directory_iterator(home + "/files"))
    EXPECT_EQ(entry.path().native().find("\xC3."), std::string::npos) << "cut inside a character";
}

TEST(DesktopTrash, LinksGoThemselvesAndFoldersNever) {
  const test::CTempFolder folder;
  const std::string home = folder / "Trash";
  const CDesktopTrash trash(home);
  WriteAll(folder / "music/a.mp3", "A");
  fs::create_symlink(folder / "music/a.mp3", folder / "link.mp3");
  fs::create_directory_symlink(folder / "music", folder / "linked");
  EXPECT_EQ(trash.Put(folder / "link.mp3"), 0);
  EXPECT_TRUE(fs::is_symlink(home + "/files/link.mp3"));
  EXPECT_EQ(ReadAll(folder / "music/a.mp3"), "A");
  EXPECT_EQ(trash.Put(folder / "music"), EISDIR);
  EXPECT_EQ(trash.Put(folder / "music/gone.mp3"), ENOENT);
  EXPECT_EQ(trash.Put(folder / "linked/a.mp3"), 0);
  EXPECT_EQ(Names(home + "/info"), "a.mp3.trashinfo link.mp3.trashinfo ");

  WriteAll(folder / "blocked", "a file where the trash should be");
  WriteAll(folder / "b.mp3", "B");
  EXPECT_EQ(CDesktopTrash(folder / "blocked").Put(folder / "b.mp3"), ENOTDIR);
  EXPECT_EQ(ReadAll(folder / "b.mp3"), "B");
}

TEST(DesktopTrash, OtherVolumesHaveTheirOwn) {
  const test::CTempFolder folder;
  const std::string top = folder / "volume";
  test::WithVolume(top, 1024, [&] {
    const CDesktopTrash trash(folder / "Trash");
    const std::string user = std::to_string(getuid());
    const std::string file = top + "/al bum/a.mp3";
    const auto put = [&] {
      WriteAll(file, "A");
      return trash.Put(file);
    };
    const std::map<std::string, std::string> expected = {{"al bum/a.mp3", "A"}};

    // A trash that a stranger could have prepared is not used, and nothing is deleted instead.
    const std::string own = top + "/.Trash-" + user;
    fs::create_directory(top + "/elsewhere");
    fs::create_directory_symlink(top + "/elsewhere", own);
    EXPECT_EQ(put(), ENOTDIR);
    EXPECT_EQ(ReadAll(file), "A");
    fs::remove(own);

    EXPECT_EQ(put(), 0);
    EXPECT_EQ(Restorable(own), expected);
    EXPECT_TRUE(IsPrivate(own));
    fs::remove_all(own);

    const std::string shared = top + "/.Trash";
    fs::create_directory(shared);
    EXPECT_EQ(put(), 0);
    EXPECT_EQ(Restorable(own), expected) << "a shared trash without the sticky bit";
    fs::remove_all(own);

    fs::permissions(shared, fs::perms::all | fs::perms::sticky_bit);
    fs::create_directory_symlink(top + "/al bum", folder / "linked");
    WriteAll(file, "A");
    EXPECT_EQ(trash.Put(folder / "linked/a.mp3"), 0);
    EXPECT_EQ(Restorable(shared + "/" + user), expected);
    EXPECT_FALSE(fs::exists(own));
    fs::remove_all(shared);

    fs::rename(top + "/elsewhere", top + "/real");
    fs::permissions(top + "/real", fs::perms::all | fs::perms::sticky_bit);
    fs::create_directory_symlink(top + "/real", shared);
    EXPECT_EQ(put(), 0);
    EXPECT_EQ(Restorable(own), expected) << "a shared trash that is a link";
    EXPECT_FALSE(fs::exists(folder / "Trash")) << "nothing crosses volumes";
  });
}

}  // namespace
}  // namespace quill
