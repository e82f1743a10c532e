// SPDX-License-Identifier: GPL-3.0-or-later
// Each format that can be written, made by the ffmpeg program with tags of its own: what our writer
// changes must be what every reader finds afterwards, wherever else the old value lies in the file.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include "decoder/decoder_test.h"
#include "decoding/tag_access.h"

namespace quill::test {
namespace {

// By the names that the ffmpeg program gives to fields of all formats.
using Fields = std::map<std::string, std::string>;

const Fields kOld{{"title", "Old title"}, {"artist", "Old artist"},   {"album", "Old album"},
                  {"genre", "Rock"},      {"comment", "Old comment"}, {"date", "1997"},
                  {"track", "7"}};
const Fields kNew{{"title", "Étude № 3 日本"},
                  {"artist", "Ånn & the Marsh"},
                  {"album", "Плавни"},
                  {"genre", "Rebetiko ñ"},
                  {"comment", "première prise…"},
                  {"date", "2003"},
                  {"track", "12"}};
const Fields kNone{{"title", ""},   {"artist", ""}, {"album", ""}, {"genre", ""},
                   {"comment", ""}, {"date", ""},   {"track", ""}};

struct Format {
  const char* name;
  const char* options;  // null for a file of tests/media
  bool isOld = true;    // made with the old fields, all of them
};

const Format kFormats[] = {
    {"a.mp3", "-write_id3v1 0 "},
    {"a.mp3", "-id3v2_version 3 -write_id3v1 1 "},
    {"a.mp3", "-id3v2_version 0 -write_id3v1 1 ", false},
    {"a.mp2", "", false},
    {"a.flac", ""},
    {"a.ogg", "-c:a libvorbis "},
    {"a.ogg", "-c:a flac "},
    {"a.opus", ""},
    {"a.spx", "-ar 16000 "},
    {"a.m4a", ""},
    {"a.m4a", "-c:a alac "},
    {"a.mp4", ""},
    {"a.wma", ""},
    {"a.wav", ""},
    {"a.aiff", "", false},
    {"a.aiff", "-write_id3v2 1 "},
    {"a.wv", ""},
    {"a.tta", ""},
    {"music.ape", nullptr, false},
    {"music.mpc", nullptr, false},
};

class TagFormatsTest : public DecoderTest {
 protected:
  // As the tag editor reads them.
  Fields Edited(const std::string& path) {
    Fields fields = kNone;
    uint32_t year = 0;
    uint32_t track = 0;
    EXPECT_EQ(m_tags.GetProperties(path, 0, &fields["title"], &fields["artist"], &fields["album"],
                                   &fields["genre"], &fields["comment"], &year, &track),
              kDecodeOk);
    if (year != 0) fields["date"] = std::to_string(year);
    if (track != 0) fields["track"] = std::to_string(track);
    return fields;
  }
  int32_t Edit(const std::string& path, const Fields& fields) {
    const auto number = [&](const char* name) {
      return static_cast<uint32_t>(std::strtoul(fields.at(name).c_str(), nullptr, 10));
    };
    const uint32_t year = number("date");
    const uint32_t track = number("track");
    return m_tags.SetProperties(path, 0, &fields.at("title"), &fields.at("artist"),
                                &fields.at("album"), &fields.at("genre"), &fields.at("comment"),
                                &year, &track);
  }
  // As the ffprobe program reads them, all values of a field.
  Fields Probed(const std::string& path) {
    const std::string file = m_folder / "probed.txt";
    const std::string command =
        "ffprobe -v error -show_entries format_tags:stream_tags -of flat '" + path + "' >'" + file +
        "'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    Fields fields = kNone;
    std::istringstream lines(ReadAll(file));
    for (std::string line; std::getline(lines, line);) {
      const size_t equals = line.find('=');
      std::string name = line.substr(0, equals);
      name = name.substr(name.rfind('.') + 1);
      std::transform(name.begin(), name.end(), name.begin(),
                     [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
      if (name == "year" || name == "wm_year") name = "date";
      if (fields.count(name) == 0) continue;
      const std::string value = line.substr(equals + 2, line.size() - equals - 3);
      std::string& all = fields[name];
      if (!all.empty() && all != value) all += " and ";
      if (all != value) all += value;
    }
    return fields;
  }
  // As the scan and "probe" read them.
  Fields Scanned(const std::string& path) {
    Fields fields = kNone;
    wire::AudioInfo info{};
    EXPECT_EQ(m_decoder.Open(path, 0), kDecodeOk);
    EXPECT_EQ(m_decoder.GetInfo(&info), kDecodeOk);
    EXPECT_EQ(m_decoder.Close(), kDecodeOk);
    fields["title"] = info.title;
    fields["artist"] = info.artist;
    fields["album"] = info.album;
    return fields;
  }
  void ExpectEverywhere(const std::string& path, const Fields& expected) {
    EXPECT_EQ(Edited(path), expected);
    EXPECT_EQ(Probed(path), expected);
    const Fields scanned = Scanned(path);
    for (const char* name : {"title", "artist", "album"})
      EXPECT_EQ(scanned.at(name), expected.at(name)) << name;
  }

  std::string Made(const Format& format) {
    std::string path = m_folder / format.name;
    if (format.options == nullptr) {
      WriteAll(path, ReadAll(std::string(MEDIA_FOLDER) + format.name));
      return path;
    }
    std::string options = format.options;
    for (const auto& [name, value] : kOld) options += " -metadata " + name + "='" + value + "'";
    Encode(Track(0.5), path, options);
    return path;
  }

  CTagAccess m_tags{m_table};
};

TEST_F(TagFormatsTest, EveryReaderFindsWhatWasWritten) {
  for (const Format& format : kFormats) {
    SCOPED_TRACE(std::string(format.name) + " " + (format.options ? format.options : ""));
    const std::string path = Made(format);
    const std::vector<float> sound = Decode(path).samples;
    EXPECT_FALSE(sound.empty());
    if (format.isOld) ExpectEverywhere(path, kOld);
    EXPECT_EQ(Edit(path, kNew), kDecodeOk);
    ExpectEverywhere(path, kNew);
    EXPECT_EQ(Edit(path, kNone), kDecodeOk);
    ExpectEverywhere(path, kNone);
    EXPECT_EQ(Decode(path).samples, sound);
  }
}

// A reader may take either of these for the comment.
TEST_F(TagFormatsTest, TwoNamesOfOneFieldSayTheSameAfterwards) {
  const std::string path =
      Encoded("a.flac", "-metadata comment='Old comment' -metadata commenx=Another");
  std::string bytes = ReadAll(path);
  const size_t name = bytes.find("commenx=");
  ASSERT_NE(name, std::string::npos);
  ASSERT_NE(bytes.find("DESCRIPTION="), std::string::npos);
  bytes.replace(name, 7, "COMMENT");
  WriteAll(path, bytes);
  EXPECT_EQ(Edited(path).at("comment"), "Old comment");
  ASSERT_NE(Probed(path).at("comment"), "Old comment");
  EXPECT_EQ(Edit(path, kOld), kDecodeOk);
  ExpectEverywhere(path, kOld);
  EXPECT_EQ(Edit(path, kNone), kDecodeOk);
  ExpectEverywhere(path, kNone);
}

}  // namespace
}  // namespace quill::test
