// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/tag_access.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <thread>

#include "decoder/decoder_test.h"
#include "decoder/tags/tag_requests.h"
#include "storage/short_disk.h"

namespace quill::test {
namespace {

// What the tag editor shows of a file.
struct Tags {
  std::string title, artist, album, genre, comment;
  uint32_t year = 0, track = 0;
  bool operator==(const Tags&) const = default;
};

void PrintTo(const Tags& tags, std::ostream* out) {
  *out << tags.title << '|' << tags.artist << '|' << tags.album << '|' << tags.genre << '|'
       << tags.comment << '|' << tags.year << '|' << tags.track;
}

class TagsTest : public DecoderTest {
 protected:
  Tags Read(const std::string& path) {
    Tags tags;
    EXPECT_EQ(m_tags.GetProperties(path, 0, &tags.title, &tags.artist, &tags.album, &tags.genre,
                                   &tags.comment, &tags.year, &tags.track),
              kDecodeOk)
        << path;
    return tags;
  }
  int32_t Write(const std::string& path, const Tags& tags) {
    return m_tags.SetProperties(path, 0, &tags.title, &tags.artist, &tags.album, &tags.genre,
                                &tags.comment, &tags.year, &tags.track);
  }
  // What ffmpeg finds besides the sound: attached pictures and all tags by name. The order of the
  // fields, and the case of their names, mean nothing.
  std::string Described(const std::string& path) {
    const std::string file = m_folder / "described.txt";
    const std::string command =
        "ffprobe -v error -show_entries stream=codec_name:format_tags:stream_tags -of compact '" +
        path + "' >'" + file + "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::multiset<std::string> fields;
    std::string field;
    for (char c : ReadAll(file)) {
      if (c != '|' && c != '\n') {
        field.push_back(static_cast<char>(std::tolower(c)));
        continue;
      }
      fields.insert(std::exchange(field, {}));
    }
    std::string described;
    for (const std::string& one : fields) described += one + "\n";
    return described;
  }
  static bool IsAlone(const std::string& path) {
    const auto folder = std::filesystem::path(path).parent_path();
    for (const auto& entry : std::filesystem::directory_iterator(folder))
      if (entry.path().filename().string().starts_with(".tags-")) return false;
    return true;
  }

  CTagAccess m_tags{m_table};
};

const Tags kFirst{"Étude № 3", "Ann & the Marsh", "Reeds", "Folk", "first take", 1997, 7};
const Tags kSecond{"Another title that is a good deal longer than the one before it, 日本",
                   "B",
                   "",
                   "Jazz",
                   "",
                   2003,
                   0};

TEST_F(TagsTest, EveryStandardKeepsItsSoundAndTakesNewFields) {
  for (const char* name : {"a.mp3", "a.flac", "a.ogg", "a.opus", "a.m4a", "a.wv", "a.wma", "a.wav",
                           "a.aiff", "alac.m4a"}) {
    SCOPED_TRACE(name);
    const std::string path =
        Encoded(name, std::string_view(name).starts_with("alac") ? "-c:a alac" : "");
    const std::vector<float> sound = Decode(path).samples;
    ASSERT_FALSE(sound.empty());
    ASSERT_EQ(Write(path, kFirst), kDecodeOk);
    EXPECT_EQ(Read(path), kFirst);
    EXPECT_EQ(Decode(path).samples, sound);
    // One field alone, then a longer and a shorter set.
    const std::string title = "only this";
    ASSERT_EQ(
        m_tags.SetProperties(path, 0, &title, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        kDecodeOk);
    Tags expected = kFirst;
    expected.title = title;
    EXPECT_EQ(Read(path), expected);
    ASSERT_EQ(Write(path, kSecond), kDecodeOk);
    EXPECT_EQ(Read(path), kSecond);
    EXPECT_EQ(Decode(path).samples, sound);
    EXPECT_TRUE(IsAlone(path));
  }
}

TEST_F(TagsTest, WhatIsNotAskedForStays) {
  const std::string cover = m_folder / "cover.png";
  ASSERT_EQ(
      std::system(
          ("ffmpeg -v error -f lavfi -i color=red:s=16x16 -frames:v 1 '" + cover + "'").c_str()),
      0);
  for (const char* name : {"b.mp3", "b.flac", "b.m4a"}) {
    SCOPED_TRACE(name);
    const std::string path =
        Encoded(name, "-i '" + cover +
                          "' -map 0:a -map 1:v -disposition:v attached_pic -c:v copy "
                          "-metadata title=Old -metadata date=2011-05-03 -metadata track=3/12 "
                          "-metadata composer=Someone -metadata copyright=1999 -write_id3v1 1");
    const std::string before = Described(path);
    ASSERT_NE(before.find("png"), std::string::npos);
    const Tags old = Read(path);
    EXPECT_EQ(old.year, 2011u);
    EXPECT_EQ(old.track, 3u);
    Tags changed = old;
    changed.title = "New";
    ASSERT_EQ(Write(path, changed), kDecodeOk);
    std::string expected = before;
    expected.replace(expected.find("title=old"), 9, "title=new");
    EXPECT_EQ(Described(path), expected) << "picture, full date, track of, composer";
    // The same fields again: not a byte changes.
    const std::string bytes = ReadAll(path);
    const auto stamp = std::filesystem::last_write_time(path);
    ASSERT_EQ(Write(path, changed), kDecodeOk);
    EXPECT_EQ(ReadAll(path), bytes);
    EXPECT_EQ(std::filesystem::last_write_time(path), stamp);
  }
  // The short tag at the end of the file follows the long one at its start.
  EXPECT_EQ(ReadAll(m_folder / "b.mp3").substr(ReadAll(m_folder / "b.mp3").size() - 128, 6),
            "TAGNew");
}

TEST_F(TagsTest, TheNameNeitherHelpsNorHarms) {
  const std::string flac = Encoded("c.flac");
  const std::string named = m_folder / "c.mp3";
  std::filesystem::rename(flac, named);
  const std::vector<float> sound = Decode(named).samples;
  ASSERT_EQ(Write(named, kFirst), kDecodeOk);
  EXPECT_EQ(ReadAll(named).substr(0, 4), "fLaC");
  EXPECT_EQ(Decode(named).samples, sound);

  const std::string link = m_folder / "link.mp3";
  std::filesystem::create_symlink(named, link);
  chmod(named.c_str(), 0640);
  ASSERT_EQ(Write(link, kSecond), kDecodeOk);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(Read(named), kSecond);
  struct stat status{};
  ASSERT_EQ(stat(named.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(TagsTest, RefusesWhatHasNoTags) {
  const std::string text = m_folder / "notes.mp3";
  WriteAll(text, std::string(5000, 'x'));
  Tags kept = kFirst;
  EXPECT_EQ(m_tags.GetProperties(text, 0, &kept.title, nullptr, nullptr, nullptr, nullptr,
                                 &kept.year, nullptr),
            Code(Status::kNoTags));
  EXPECT_EQ(kept, kFirst) << "outputs stay on a failure";
  EXPECT_EQ(Write(text, kFirst), Code(Status::kNoTags));
  EXPECT_EQ(ReadAll(text), std::string(5000, 'x'));
  EXPECT_EQ(Write(m_folder / "nothing.mp3", kFirst), Code(Status::kCannotRead));
  EXPECT_EQ(Write(m_folder.Path(), kFirst), Code(Status::kCannotRead));
  // Nothing to set: not even a look at the file, and no process.
  CProcessLink idle(m_table, "/bin/false");
  CTagAccess none(m_table, "/bin/false");
  EXPECT_EQ(none.SetProperties("/nowhere", 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr),
            kDecodeOk);
  Tags long_ = kFirst;
  long_.comment.assign(wire::kStringLimit, 'x');
  const std::string path = Encoded("d.flac");
  EXPECT_EQ(Write(path, long_), kDecodeLinkFailed);
  EXPECT_EQ(Write(path, kFirst), kDecodeOk) << "a new decoder takes over";
}

TEST_F(TagsTest, AFullDiskLeavesTheOldFile) {
  const std::string path = Encoded("e.mp3", "-id3v2_version 3 -metadata title=Old");
  const std::string before = ReadAll(path);
  decoder::TagFields fields;
  fields.mask = 1 | 32;
  fields.texts[0] = "New";
  fields.texts[4] = std::string(60000, 'c');  // more than any padding
  for (const size_t room : {size_t{0}, before.size() / 2, before.size(), before.size() + 100}) {
    EXPECT_EQ(InChild([&] {
                LimitFileSize(room);
                return static_cast<int>(decoder::WriteTags(path, fields));
              }),
              Code(Status::kCannotWrite));
    EXPECT_EQ(ReadAll(path), before);
    EXPECT_TRUE(IsAlone(path));
  }
  EXPECT_EQ(decoder::WriteTags(path, fields), Status::kOk);
  EXPECT_EQ(Read(path).comment.size(), 60000u);
}

TEST_F(TagsTest, AKilledWriterLeavesTheOldFileOrTheNewOne) {
  const std::string path = Encoded("f.mp3");
  std::vector<std::string> states;
  decoder::TagFields fields;
  fields.mask = 1 | 32;
  for (const char c : {'a', 'b'}) {
    fields.texts[0] = std::string(1, c);
    fields.texts[4] = std::string(c == 'a' ? 10 : 30000, c);
    ASSERT_EQ(decoder::WriteTags(path, fields), Status::kOk);
    states.push_back(ReadAll(path));
  }
  std::mt19937 random(5);
  for (int turn = 0; turn < 40; ++turn) {
    const pid_t child = fork();
    if (child == 0) {
      for (size_t i = 0;; ++i) {
        fields.texts[0] = i % 2 ? "b" : "a";
        fields.texts[4] = std::string(i % 2 ? 30000 : 10, i % 2 ? 'b' : 'a');
        (void)decoder::WriteTags(path, fields);
      }
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::string now = ReadAll(path);
    EXPECT_TRUE(now == states[0] || now == states[1]);
  }
}

}  // namespace
}  // namespace quill::test
