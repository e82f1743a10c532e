#include "results/export.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/configuration.h"
#include "storage/report_log.h"
#include "storage/short_disk.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

class ExportTest : public testing::Test {
 protected:
  ExportTest() {
    CConfiguration::Instance().SetStore(&m_settings);
    m_analysis.SetSort(FieldId::kFile, true);
    m_audio.SetSort(FieldId::kFile, true);
  }
  ~ExportTest() override { CConfiguration::Instance().SetStore(nullptr); }

  void AddSounds(const std::string& a, const std::string& b, float tags, float content,
                 float precise) {
    const auto base = [&](const std::string& path) {
      return m_audioStore.GetCache({path, "", "", "", 1, 2, 3, 4});
    };
    m_audio.LockedAdd({base(a), base(b), 0, 0, {tags, content, precise}});
    ASSERT_TRUE(m_audio.ProcessNewData());
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
  CMemorySettingsStore m_settings;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_audioStore{m_cache, m_counters};
  CImageStore m_imageStore{m_cache, m_counters};
  CAnalysisStore m_analysisStore{m_cache};
  CIgnoreList m_ignores;
  CAudioDupsController m_audio{m_audioStore, m_ignores};
  CImageDupsController m_images{m_imageStore, m_ignores};
  CAudioAnalysisController m_analysis{m_analysisStore, m_ignores};
};

const std::string kHead =
    "<html><header>\r\n<meta http-equiv='Content-Type' content='text/html; charset=UTF-8' />\r\n"
    "<style type='text/css'>td{padding:4px 10px;}tr.wh,th{background-color:#ccc}</style></header>"
    "<body>\r\n<table cellpadding='0' cellspacing='0'>\r\n";
const std::string kTail = "</table>\r\n</body></html>\r\n";

TEST_F(ExportTest, AudioLetterByLetter) {
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kCsv, {}));
  EXPECT_EQ(test::ReadAll(m_target), "");
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kM3u, {}));
  EXPECT_EQ(test::ReadAll(m_target), "#EXTM3U\r\n");
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kHtml, AudioDupsHeadings()));
  const std::string headed = kHead +
                             "<tr><th>File</th><th>File</th><th>% content</th><th>% tags</th>"
                             "<th>% precise</th></tr>";
  EXPECT_EQ(test::ReadAll(m_target), headed + kTail);

  AddSounds("/a \"quoted\" <b>.mp3", "/ü.mp3", 1, -1, 0.12345F);
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kCsv, {}));
  std::string text = test::ReadAll(m_target);
  std::string paths = Either(text, "/a \"quoted\" <b>.mp3", "/ü.mp3", "\";\"");
  EXPECT_EQ(text, "\"" + paths + "\";-100.0000;100.0000;12.3450\r\n");
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kHtml, AudioDupsHeadings()));
  text = test::ReadAll(m_target);
  paths = Either(text, "/a \"quoted\" <b>.mp3", "/ü.mp3", "</td><td>");
  EXPECT_EQ(text, headed + "<tr>\r\n<td>" + paths +
                      "</td><td>-100.0000</td><td>100.0000</td><td>12.3450</td>\r\n</tr>\r\n" +
                      kTail);

  // The list: once a file in groups, and a partner once a pair in flat mode.
  AddSounds("/ü.mp3", "/z.mp3", 1, 1, -1);
  m_audio.ToggleGroup(0);
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kM3u, {}));
  EXPECT_EQ(test::ReadAll(m_target), "#EXTM3U\r\n/a \"quoted\" <b>.mp3\r\n/z.mp3\r\n/ü.mp3\r\n");
  m_settings.Set("enableFlatMode", true);
  ASSERT_TRUE(m_audio.ReloadSettings());
  ASSERT_TRUE(Export(m_audio, m_target, ExportKind::kM3u, {}));
  EXPECT_EQ(test::ReadAll(m_target),
            "#EXTM3U\r\n/a \"quoted\" <b>.mp3\r\n/ü.mp3\r\n/z.mp3\r\n/ü.mp3\r\n/ü.mp3\r\n/a "
            "\"quoted\" <b>.mp3\r\n/z.mp3\r\n");
}

TEST_F(ExportTest, PicturesAreForCsvOnly) {
  AddPictures("/a.png", "/b.png");
  ASSERT_TRUE(Export(m_images, m_target, ExportKind::kCsv, {}));
  const std::string text = test::ReadAll(m_target);
  EXPECT_EQ(text, "\"" + Either(text, "/a.png", "/b.png", "\";\"") + "\";87.5000;-100.0000\r\n");
  std::string failure;
  EXPECT_FALSE(Export(m_images, m_target, ExportKind::kHtml, ImageDupsHeadings(), &failure));
  EXPECT_EQ(test::ReadAll(m_target), "");
  EXPECT_EQ(failure, "cannot write " + m_target + ": this table has no HTML form");
  EXPECT_FALSE(Export(m_images, m_target, ExportKind::kM3u, {}));
  // With the fourth heading the writer would do it.
  const char* const headings[] = {"1", "2", "3", "4"};
  ASSERT_TRUE(Export(m_images, m_target, ExportKind::kHtml, headings));
  EXPECT_NE(test::ReadAll(m_target).find("</td><td>87.5000</td><td>-100.0000</td>\r\n"),
            std::string::npos);
}

TEST_F(ExportTest, AnalysisMixesQuotedAndUnquotedFields) {
  AddAnalysis("/b.mp3");
  AddAnalysis("/a.mp3");
  ASSERT_TRUE(Export(m_analysis, m_target, ExportKind::kCsv, {}));
  const std::string fields =
      ";\"44 100\";\"5.00 MB\";\"192.00 Kbit\";\"Stereo\";\"1:01\";12;0;0.001000;0.000031 (16 "
      "bit);0.900000;\"19 876\";0\r\n";
  EXPECT_EQ(test::ReadAll(m_target),
            "\"/a.mp3\";\"96.7857\"" + fields + "\"/b.mp3\";\"96.7857\"" + fields);
  ASSERT_TRUE(Export(m_analysis, m_target, ExportKind::kHtml, AnalysisHeadings()));
  const std::string cells =
      ".mp3</td><td>0.9679</td><td>44 100</td><td>5.00 MB</td><td>192.00 Kbit</td><td>Stereo</td>"
      "<td>1:01</td><td>12</td><td>0</td><td>0.001000</td><td>0.000031 (16 bit)</td>"
      "<td>0.900000</td><td>19 876</td><td>0</td>\r\n</tr>\r\n";
  EXPECT_EQ(test::ReadAll(m_target),
            kHead +
                "<tr><th>File</th><th>Rating</th><th>Sample rate</th><th>Size</th><th>Bitrate</th>"
                "<th>Channels</th><th>Duration</th><th>Clipping</th><th>Silence</th>"
                "<th>Mean(abs.)</th><th>Step</th><th>Max(abs.)</th><th>Max Freq.</th>"
                "<th>Clicks</th></tr><tr>\r\n<td>/a" +
                cells + "<tr class=wh>\r\n<td>/b" + cells + kTail);
  EXPECT_FALSE(Export(m_analysis, m_target, ExportKind::kM3u, {}));
}

TEST_F(ExportTest, KindsGoByTheExactExtension) {
  EXPECT_EQ(AudioDupsExportKind("/x.m3u"), ExportKind::kM3u);
  EXPECT_EQ(AudioDupsExportKind("/x.HTML"), ExportKind::kCsv);
  EXPECT_EQ(ImageDupsExportKind("/x.m3u"), ExportKind::kCsv);
  EXPECT_EQ(AnalysisExportKind("/x.html"), ExportKind::kHtml);
}

TEST_F(ExportTest, AFullDiskAndABadPlaceAreTold) {
  std::string failure;
  {
    test::CReportLog log;
    EXPECT_FALSE(Export(m_audio, m_folder / "none/x.csv", ExportKind::kCsv, {}, &failure));
    EXPECT_EQ(log.Take(), "Export:1 ");
  }
  EXPECT_EQ(failure, "cannot create " + m_folder / "none/x.csv" + ": No such file or directory");
  for (int i = 0; i < 2000; ++i)
    AddAnalysis("/a long path with a number " + std::to_string(i) + ".mp3");
  ASSERT_TRUE(Export(m_analysis, m_target, ExportKind::kCsv, {}, &failure));
  EXPECT_EQ(failure, "");
  const std::string text = test::ReadAll(m_target);
  EXPECT_GT(text.size(), 3u * 65536);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2000);
  EXPECT_FALSE(Export(m_analysis, "/dev/full", ExportKind::kCsv, {}, &failure));
  EXPECT_EQ(failure, "cannot write /dev/full: No space left on device");

  // A disk with room for part of it: what was written stays.
  EXPECT_EQ(test::InChild([&] {
              test::LimitFileSize(100000);
              const bool written = Export(m_analysis, m_target, ExportKind::kCsv, {}, &failure);
              if (written) return 1;
              return failure == "cannot write " + m_target + ": No space left on device" ? 0 : 2;
            }),
            0);
  EXPECT_EQ(test::ReadAll(m_target), text.substr(0, 100000));
}

}  // namespace
}  // namespace quill
