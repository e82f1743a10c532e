// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/export.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "results/html_page.h"
#include "results/picture_page.h"
#include "results/result_tables.h"
#include "storage/report_log.h"
#include "storage/short_disk.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

class ExportTest : public test::CResultTables {
 protected:
  ExportTest() {
    m_analysis.SetSort(FieldId::kFile, true);
    m_audio.SetSort(FieldId::kFile, true);
  }

  void AddSounds(const std::string& a, const std::string& b, float tags, float content,
                 float precise) {
    const auto sound = [](const std::string& path) {
      return test::Sound{path, 2, 4, 1, {}, {}, 0};
    };
    Pair(sound(a), sound(b), {tags, content, precise});
  }
  void AddPictures(const std::string& a, const std::string& b) {
    const auto base = [&](const std::string& path) {
      return m_imageStore.GetCache({path, 640, 480, 5, 8, 100});
    };
    m_images.LockedAdd({base(a), base(b), 0, 0, {0.875F, -1}});
    ASSERT_TRUE(m_images.ProcessNewData());
  }
  void AddAnalysis(const std::string& path) {
    const CRef<AnalysisInfo> info = MakeRef<AnalysisInfo>();
    info->path = path;
    info->sampleRate = 44100;
    info->size = 5000000;
    info->bitrate = 192000;
    info->channels = 2;
    info->durationMs = 61500;
    info->clipping = 12;
    info->absMean = 0.001F;
    info->minStep = 1.0F / 32768;
    info->absMax = 0.9F;
    info->maxFreq = 19876.5F;
    m_analysis.LockedAdd(info);
    ASSERT_TRUE(m_analysis.ProcessNewData());
  }
  // The two paths of the first pair in the order of the model, which follows addresses.
  static std::string Either(const std::string& text, const std::string& a, const std::string& b,
                            const std::string& between) {
    const std::string one = a + between + b;
    return text.find(one) != text.npos ? one : b + between + a;
  }

  test::CTempFolder m_folder;
  const std::string m_target = m_folder / "out.txt";
};

// A source that knows some pictures.
class CFakeThumbnails : public CThumbnailSource {
 public:
  [[nodiscard]] std::string DataUri(const std::string& path) override {
    asked.push_back(path);
    return path.find("broken") == path.npos ? "data:image/png;base64,AAAA" : "";
  }
  std::vector<std::string> asked;
};

bool Always(size_t, size_t) {
  return true;
}

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
  return count;
}

size_t FilesIn(const std::string& folder) {
  const std::filesystem::directory_iterator files(folder);
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

TEST_F(ExportTest, SoundsLetterByLetter) {
  const std::string headings = "\"File\";\"Other file\";\"Content %\";\"Tags %\";\"Precise %\"\r\n";
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kCsv));
  EXPECT_EQ(test::ReadAll(m_target), headings);
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kM3u));
  EXPECT_EQ(test::ReadAll(m_target), "#EXTM3U\r\n");

  AddSounds("/a \"quoted\";\n<b>.mp3", "/ü.mp3", 1, -1, 0.12345F);
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kCsv));
  std::string text = test::ReadAll(m_target);
  const std::string paths = Either(text, "/a \"\"quoted\"\";\n<b>.mp3", "/ü.mp3", "\";\"");
  EXPECT_EQ(text, headings + "\"" + paths + "\";-100.0000;100.0000;12.3450\r\n");

  // The list: once a file in groups, and a partner once a pair in flat mode.
  m_audio.Clear();
  AddSounds("/a.mp3", "/ü.mp3", 1, -1, 0.12345F);
  AddSounds("/ü.mp3", "/z.mp3", 1, 1, -1);
  m_audio.ToggleGroup(0);
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kM3u));
  EXPECT_EQ(test::ReadAll(m_target), "#EXTM3U\r\n/a.mp3\r\n/z.mp3\r\n/ü.mp3\r\n");
  m_settings.store.Set("enableFlatMode", true);
  ASSERT_TRUE(m_audio.ReloadSettings());
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kM3u));
  EXPECT_EQ(test::ReadAll(m_target),
            "#EXTM3U\r\n/a.mp3\r\n/ü.mp3\r\n/z.mp3\r\n/ü.mp3\r\n/ü.mp3\r\n/a.mp3\r\n/z.mp3\r\n");
}

// Groups are what hangs together, by the paths and in any mode of the table.
TEST_F(ExportTest, APageOfSoundsIsInGroups) {
  m_settings.store.Set("enableFlatMode", true);
  (void)m_audio.ReloadSettings();
  AddSounds("/m/z.mp3", "/m/c.mp3", 1, -1, 0.12345F);
  AddSounds("/m/b.mp3", "/m/y.mp3", 1, -1, 0.5F);
  AddSounds("/m/c.mp3", "/m/a <1>.mp3", 1, -1, -1);
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kHtml));
  const std::string page = test::ReadAll(m_target);
  const auto row = [](const std::string& one, const std::string& other,
                      const std::string& precise) {
    const std::string folder = "<td><span class=\"d\">/m/</span>";
    return "<tr>" + folder + one + "</td>" + folder + other +
           "</td><td class=\"n\">–</td><td class=\"n\">100.00</td><td class=\"n\">" + precise +
           "</td></tr>\n";
  };
  const auto group = [](const std::string& text) {
    return "<tbody>\n<tr><th scope=\"rowgroup\" colspan=\"5\">" + text + "</th></tr>\n";
  };
  const size_t body = page.find("<tbody>");
  ASSERT_NE(body, page.npos);
  EXPECT_EQ(page.substr(body), group("Group 1: 3 files") + row("a &lt;1&gt;.mp3", "c.mp3", "–") +
                                   row("c.mp3", "z.mp3", "12.35") + "</tbody>\n" +
                                   group("Group 2: 2 files") + row("b.mp3", "y.mp3", "50.00") +
                                   "</tbody>\n</table>\n</body>\n</html>\n");
  EXPECT_EQ(page.find("<!DOCTYPE html>\n<html lang=\"en\">"), 0U);
  EXPECT_NE(page.find("prefers-color-scheme: dark"), page.npos);
}

TEST(HtmlPage, TextCannotLeaveItsPlace) {
  const std::string fault = "\xEF\xBF\xBD";
  const std::pair<std::string, std::string> cases[] = {
      {"a&b<c>\"d\"'e'", "a&amp;b&lt;c&gt;&quot;d&quot;'e'"},
      {"naïve 日本 😀", "naïve 日本 😀"},
      {"\xFF"
       "a\xC3",
       fault + "a" + fault},
      {"\xC0\xBC", fault + fault},              // a "<" in disguise
      {"\xED\xA0\x80", fault + fault + fault},  // half of a pair
      {std::string("\x01\x7F\0", 3), fault + fault + fault},
      {"\xC2\x85", fault + fault},               // C1
      {"\xEF\xBF\xBE", fault + fault + fault}};  // no character
  for (const auto& [text, html] : cases) EXPECT_EQ(HtmlText(text), html) << html;
}

TEST_F(ExportTest, PicturesStandOnThePageOnceEach) {
  AddPictures("/p/a.png", "/p/b \"x\".png");
  AddPictures("/p/a.png", "/p/broken.png");
  ASSERT_TRUE(Export(m_images, m_target, ExportKind::kCsv));
  std::string text = test::ReadAll(m_target);
  EXPECT_EQ(text.find("\"File\";\"Other file\";\"Content %\";\"Experimental %\"\r\n\"/p/"), 0U);
  EXPECT_EQ(Count(text, "\";87.5000;-100.0000\r\n"), 2U);
  EXPECT_FALSE(Export(m_images, m_target, ExportKind::kM3u));

  const CPicturePage page(m_images);
  m_images.Clear();  // the page is of the table as it was
  CFakeThumbnails thumbnails;
  std::string failure;
  ASSERT_TRUE(page.Write(m_target, thumbnails, Always, &failure)) << failure;
  EXPECT_EQ(thumbnails.asked,
            (std::vector<std::string>{"/p/a.png", "/p/b \"x\".png", "/p/broken.png"}));
  text = test::ReadAll(m_target);
  EXPECT_EQ(Count(text, "<img alt=\"b &quot;x&quot;.png\" src=\"data:image/png;base64,AAAA\">"),
            1U);
  EXPECT_EQ(Count(text, "<div class=\"none\">cannot be read</div>"), 1U);
  EXPECT_EQ(Count(text, "640 × 480"), 3U);
  EXPECT_EQ(Count(text, "<td class=\"n\">87.50</td><td class=\"n\">–</td></tr>"), 2U);
}

TEST_F(ExportTest, APageThatIsGivenUpLeavesTheOldFile) {
  AddPictures("/p/a.png", "/p/b.png");
  test::WriteAll(m_target, "before");
  CFakeThumbnails thumbnails;
  std::string failure = "none yet";
  EXPECT_FALSE(CPicturePage(m_images).Write(
      m_target, thumbnails,
      [](size_t done, size_t count) {
        EXPECT_EQ(count, 2U);
        return done == 0;
      },
      &failure));
  EXPECT_EQ(failure, "");
  EXPECT_EQ(thumbnails.asked.size(), 1U);
  EXPECT_EQ(test::ReadAll(m_target), "before");
  EXPECT_EQ(FilesIn(m_folder.Path()), 1U);
}

TEST_F(ExportTest, AnalysisMixesQuotedAndUnquotedFields) {
  AddAnalysis("/b.mp3");
  AddAnalysis("/a.mp3");
  ASSERT_TRUE(Export(m_analysis, m_target, ExportKind::kCsv));
  const std::string fields =
      ";\"44 100\";\"5.00 MB\";\"192.00 Kbit\";\"Stereo\";\"1:01\";12;0;0.001000;0.000031 (16 "
      "bit);0.900000;\"19 876\";0\r\n";
  EXPECT_EQ(test::ReadAll(m_target),
            "\"File\";\"Rating %\";\"Sample rate\";\"Size\";\"Bitrate\";\"Channels\";\"Duration\";"
            "\"Clipping\";\"Silence\";\"Mean(abs.)\";\"Step\";\"Max(abs.)\";\"Max Freq.\";"
            "\"Clicks\"\r\n\"/a.mp3\";\"96.7857\"" +
                fields + "\"/b.mp3\";\"96.7857\"" + fields);
  ASSERT_TRUE(Export(m_analysis, m_target, ExportKind::kHtml));
  const std::string page = test::ReadAll(m_target);
  EXPECT_EQ(Count(page, "<th scope"), 14U);
  EXPECT_NE(page.find("<tr><td><span class=\"d\">/</span>a.mp3</td><td class=\"n\">0.9679</td><td "
                      "class=\"n\">44 100</td><td class=\"n\">5.00 MB</td>"),
            page.npos);
  EXPECT_FALSE(Export(m_analysis, m_target, ExportKind::kM3u));
  EXPECT_EQ(test::ReadAll(m_target), page);
}

TEST_F(ExportTest, KindsGoByTheEnding) {
  EXPECT_EQ(ExportKindOf("/x.m3u"), ExportKind::kM3u);
  EXPECT_EQ(ExportKindOf("/x.HTML"), ExportKind::kHtml);
  EXPECT_EQ(ExportKindOf("/a.html/x.csv"), ExportKind::kCsv);
  EXPECT_EQ(ExportKindOf("/x.html/y"), std::nullopt);
  EXPECT_EQ(ExportKindOf("/x.txt"), std::nullopt);
}

TEST_F(ExportTest, AFullDiskAndABadPlaceAreTold) {
  std::string failure;
  {
    test::CReportLog log;
    EXPECT_FALSE(Export(m_audio, m_folder / "none/x.csv", ExportKind::kCsv, &failure));
    EXPECT_EQ(log.Take(), "Export:1 ");
  }
  EXPECT_EQ(failure, "cannot create " + m_folder / "none/x.csv" + ": No such file or directory");
  for (int i = 0; i < 2000; ++i)
    AddAnalysis("/a long path with a number " + std::to_string(i) + ".mp3");
  ASSERT_TRUE(Export(m_analysis, m_target, ExportKind::kCsv, &failure));
  EXPECT_EQ(failure, "");
  const std::string text = test::ReadAll(m_target);
  EXPECT_GT(text.size(), 3u * 65536);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2001);
  EXPECT_FALSE(Export(m_analysis, "/dev/full", ExportKind::kCsv, &failure));
  EXPECT_EQ(failure, "cannot write /dev/full: No space left on device");

  // A disk with room for part of it: what was there stays, also where a link leads to it.
  std::filesystem::create_symlink("out.txt", m_folder / "link.csv");
  for (const std::string& path : {m_target, m_folder / "link.csv", m_folder / "new.csv"}) {
    EXPECT_EQ(test::InChild([&] {
                test::LimitFileSize(100000);
                const bool written = Export(m_analysis, path, ExportKind::kCsv, &failure);
                if (written) return 1;
                return failure == "cannot write " + path + ": No space left on device" ? 0 : 2;
              }),
              0);
  }
  EXPECT_EQ(test::ReadAll(m_target), text);
  EXPECT_EQ(FilesIn(m_folder.Path()), 2U);

  ASSERT_TRUE(Export(m_audio, m_folder / "link.csv", ExportKind::kCsv));
  EXPECT_TRUE(std::filesystem::is_symlink(m_folder / "link.csv"));
  EXPECT_NE(test::ReadAll(m_target), text);
}

}  // namespace
}  // namespace quill
