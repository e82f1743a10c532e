// SPDX-License-Identifier: GPL-3.0-or-later
// What is not to be read is refused with a status, and the process lives on; what is damaged gives
// what is left of it.
#include <sys/stat.h>

#include <filesystem>
#include <random>

#include "decoder/decoder_test.h"

namespace quill {
namespace {

using test::Code;
using test::DecoderTest;
using test::Status;

std::string Random(size_t size) {
  std::mt19937 engine(17);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(engine());
  return bytes;
}

std::string Repeated(const std::string& text, size_t size) {
  std::string bytes;
  while (bytes.size() < size) bytes += text;
  return bytes;
}

TEST_F(DecoderTest, RefusesWhatIsNoSoundWhateverItsName) {
  const struct {
    const char* kind;
    std::string content;
  } kinds[] = {
      {"empty", {}},
      {"one byte", "x"},
      {"text", Repeated("Some words of a text file.\n", 200000)},
      {"UTF-16 text", "\xFF\xFE" + Repeated(std::string("T\0e\0x\0t\0", 8), 100000)},
      {"zeros", std::string(300000, '\0')},
      {"ones", std::string(300000, '\xFF')},
      {"sync bytes", std::string(300000, 'G')},
      {"random", Random(300000)},
      {"playlist", "#EXTM3U\n#EXTINF:10,\nfile:///etc/passwd\n"},
      {"concatenation", "ffconcat version 1.0\nfile a.wav\n"},
      {"picture", "\xFF\xD8\xFF\xE0" + std::string("\0\x10JFIF\0", 8) + Random(100000)},
      {"subtitles", "1\n00:00:01,000 --> 00:00:02,000\nWords\n"},
      {"tag only", std::string("ID3\x03\0\0\0\0\x10\0", 10) + std::string(2048, '\0')},
      {"tag beyond the end", std::string("ID3\x03\0\0\x7F\x7F\x7F\x7F", 10) + "xyz"},
  };
  for (const auto& [kind, content] : kinds) {
    for (const char* name : {"file.mp3", "file.flac", "file.txt", "file"}) {
      const std::string path = m_folder / name;
      test::WriteAll(path, content);
      EXPECT_EQ(OpenStatus(path), Code(Status::kUnknownFormat)) << kind << ", " << name;
    }
  }
}

// A pipe that is opened for reading would hang the program, or take the data from its reader.
TEST_F(DecoderTest, TouchesNothingButRegularFiles) {
  const std::string pipe = m_folder / "pipe.mp3";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& path :
       {pipe, m_folder.Path(), m_folder / "missing.mp3", std::string("/dev/zero"),
        std::string("http://127.0.0.1/a.mp3"), std::string()})
    EXPECT_EQ(OpenStatus(path), Code(Status::kCannotRead)) << path;
  const std::string link = m_folder / "link.mp3";
  std::filesystem::create_symlink(Encoded("a.mp3"), link);
  EXPECT_EQ(OpenStatus(link), kDecodeOk);
}

TEST_F(DecoderTest, ContentDecidesNotTheName) {
  for (const char* name : {"a.mp3", "a.flac", "a.ogg"}) {
    test::WriteAll(m_folder / "copy.ape", test::ReadAll(Encoded(name)));
    EXPECT_GT(Decode(m_folder / "copy.ape").Frames(), 40000u) << name;
  }
  // Junk, or a tag that tells too small a size, in front of the first frame.
  const std::string mp3 = test::ReadAll(Encoded("b.mp3", "-id3v2_version 0"));
  test::WriteAll(m_folder / "junk.mp3", Random(3000) + mp3);
  EXPECT_GT(Decode(m_folder / "junk.mp3").Frames(), 40000u);
  // Tags of another format are passed over.
  const std::string tag = std::string("ID3\x03\0\0\0\0\x10\0", 10) + std::string(2048, '\0');
  test::WriteAll(m_folder / "tagged.flac", tag + test::ReadAll(m_folder / "a.flac"));
  EXPECT_EQ(Decode(m_folder / "tagged.flac").Frames(), 44100u);
}

TEST_F(DecoderTest, ObeysTheTableOfDecoders) {
  const std::string flac = Encoded("A.FLAC");
  const std::string mp3 = Encoded("a.mp3");
  const auto use = [&](const std::vector<std::string>& rows) {
    CConfiguration::Instance().SetList("audioDecoders", rows);
    m_table.Reload();
  };
  use({"5", "1", "fla flac"});
  EXPECT_EQ(OpenStatus(flac), kDecodeOk);
  EXPECT_EQ(OpenStatus(mp3), Code(Status::kUnknownFormat));
  use({"5", "1", "fla"});
  EXPECT_EQ(OpenStatus(flac), Code(Status::kUnknownFormat));
  use({"5", "1", "flac mp3", "8", "1", "*"});  // neither opens what is not its own
  EXPECT_EQ(OpenStatus(mp3), Code(Status::kUnknownFormat));
  use({"5", "1", "mp3", "11", "1", "ogg mp3"});  // the next row has its turn
  EXPECT_EQ(OpenStatus(mp3), kDecodeOk);
  EXPECT_EQ(OpenStatus(flac), Code(Status::kUnknownFormat));
  use({"11", "0", "*"});
  EXPECT_EQ(OpenStatus(mp3), Code(Status::kUnknownFormat));
}

TEST_F(DecoderTest, RefusesVideoOnRequestButNoCovers) {
  const std::string picture = "-f lavfi -i testsrc=s=64x48:d=1 ";
  const std::string clip = "-map 0:a -map 1:v -c:v mpeg4 -shortest ";
  for (const char* name : {"a.mp4", "a.mkv", "a.avi", "a.mpg"}) {
    const bool mpeg = std::string(name) == "a.mpg";
    const std::string path =
        Encoded(name, picture + (mpeg ? "-map 0:a -map 1:v -c:a mp2 -shortest" : clip));
    EXPECT_EQ(OpenStatus(path, wire::kRefuseVideo), Code(Status::kVideoRefused)) << name;
    EXPECT_GT(Decode(path).Frames(), 40000u) << name;
  }
  // One frame of its own: newer versions of the ffmpeg program end the sound with -frames:v.
  const std::string cover =
      "-f lavfi -i testsrc=s=64x48:r=1:d=1 -map 0:a -map 1:v -disposition:v attached_pic -c:v png ";
  for (const char* name : {"c.mp3", "c.flac", "c.m4a"})
    EXPECT_GT(Decode(Encoded(name, cover), wire::kRefuseVideo).Frames(), 40000u) << name;
  test::Encode(Encoded("s.mp4", picture + clip), m_folder / "mute.mp4", "-an -c:v copy");
  EXPECT_EQ(OpenStatus(m_folder / "mute.mp4"), Code(Status::kNoSound));
}

class DamageTest : public DecoderTest, public testing::WithParamInterface<const char*> {
 protected:
  // Opens and reads what it can; the process must stay the same one.
  void Try(const std::string& bytes) {
    test::WriteAll(m_path, bytes);
    if (m_decoder.Open(m_path, 0) == kDecodeOk) (void)ReadOpen();
    if (m_child == -1) m_child = m_link.ChildId();
    ASSERT_EQ(m_link.ChildId(), m_child);
    ASSERT_TRUE(m_link.IsOpen());
  }
  std::string Short() {
    const std::string wav = m_folder / "short.wav";
    test::WriteWav(wav, test::Music(9, 0.2, 44100), 44100, 2);
    const std::string path = m_folder / GetParam();
    if (path != wav) test::Encode(wav, path, "-metadata title=Title");
    return test::ReadAll(path);
  }

  const std::string m_path = m_folder / (std::string("damaged_") + GetParam());
  pid_t m_child = -1;
};

TEST_P(DamageTest, SurvivesTruncation) {
  const std::string whole = Short();
  // Every length of the headers, then in steps.
  for (size_t length = 0; length < whole.size(); length += length < 100 ? 1 : whole.size() / 60) {
    Try(whole.substr(0, length));
    if (HasFatalFailure()) FAIL() << length;
  }
}

TEST_P(DamageTest, SurvivesFlippedBits) {
  const std::string whole = Short();
  std::mt19937 engine(23);
  for (int round = 0; round < 100; ++round) {
    std::string bytes = whole;
    const size_t range = round % 2 == 0 ? std::min<size_t>(bytes.size(), 600) : bytes.size();
    for (int flips = 1 << round % 7; flips > 0; --flips)
      bytes[engine() % range] ^= static_cast<char>(1 << engine() % 8);
    Try(bytes);
    if (HasFatalFailure()) FAIL() << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Files, DamageTest,
                         testing::Values("short.wav", "a.mp3", "a.flac", "a.ogg", "a.m4a", "a.wma",
                                         "a.wv", "a.aac", "a.mka", "a.aiff", "a.avi"),
                         [](const auto& param) {
                           std::string name = param.param;
                           name.replace(name.find('.'), 1, "_");
                           return name;
                         });

// A download that was never finished can be a hole of any size; it ends the stream, in good time.
TEST_F(DecoderTest, EndsAtAHole) {
  const std::string path = m_folder / "hole.mp3";
  const std::string mp3 = test::ReadAll(Encoded("a.mp3", "-id3v2_version 0 -write_xing 0"));
  test::WriteAll(path, mp3.substr(0, 8000));
  std::filesystem::resize_file(path, uint64_t{1} << 40);
  EXPECT_GT(Decode(path).Frames(), 10000u);
}

// One bad packet costs itself and not the rest of the file.
TEST_F(DecoderTest, GoesOnBehindDamagedPackets) {
  const std::string path = m_folder / "long.mp3";
  test::Encode(Track(4), path, "-b:a 128k");
  std::string bytes = test::ReadAll(path);
  bytes.replace(bytes.size() / 2, 3000, Random(3000));
  test::WriteAll(path, bytes);
  EXPECT_NEAR(static_cast<double>(Decode(path).Frames()), 4 * 44100, 20000);
}

}  // namespace
}  // namespace quill
