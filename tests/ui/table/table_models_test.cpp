// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QImage>
#include <QPainter>
#include <QSignalSpy>

#include "ui/audio/audio_dups_model.h"
#include "ui/images/image_dups_model.h"
#include "ui/quality/analysis_table_model.h"
#include "ui/sample_results.h"
#include "ui/table/mini_spectrum_cell.h"

namespace quill {
namespace {

constexpr auto kFatal = QAbstractItemModelTester::FailureReportingMode::Fatal;

CRef<const AnalysisInfo> Measured(const std::string& path, float good) {
  auto info = MakeRef<AnalysisInfo>();
  info->path = path;
  info->bitrate = good > 0.5F ? 128000 : 48000;
  info->sampleRate = 44100;
  info->channels = good > 0.5F ? 2 : 1;
  info->absMax = 0.9F;
  info->maxFreq = 20000 * good;
  return info;
}

QString Cell(const CResultsModel& model, int row, FieldId field, int role = Qt::DisplayRole) {
  return model.index(row, model.ColumnOf(field)).data(role).toString();
}

ScoreBar Bar(const CResultsModel& model, int row, FieldId field) {
  return model.index(row, model.ColumnOf(field)).data(CResultsModel::kScoreRole).value<ScoreBar>();
}

TEST(TableModels, AudioCellsShowTheFileOfTheRow) {
  test::CSampleResults results;
  results.AddTwoGroups();
  CAudioDupsController& table = results->AudioDups();
  (void)results->AudioAnalysis().LockedAdd(Measured("/m/b.mp3", 0.25F));
  (void)results->AudioAnalysis().ProcessNewData();
  table.ToggleGroup(0);
  CAudioDupsModel model(table, results->AudioAnalysis());
  const QAbstractItemModelTester tester(&model, kFatal);
  model.Reload();
  ASSERT_EQ(model.rowCount(), 7);  // a, its two partners, b, c, d, e

  const struct {
    int row;
    FieldId field;
    const char* text;
  } cases[] = {
      {0, FieldId::kFile, "/m/a.mp3"},
      {1, FieldId::kFile, "/m/b.mp3"},
      {3, FieldId::kFolder, "/m"},
      {4, FieldId::kFilename, "c.MP3"},
      {0, FieldId::kPairs, "2"},
      {1, FieldId::kPairs, ""},
      {0, FieldId::kGroup, "#2"},
      {1, FieldId::kGroup, "-"},
      {0, FieldId::kTags, "75.0%"},  // the item's best
      {1, FieldId::kTags, "50.0%"},  // the pair's
      {2, FieldId::kContent, "-"},   // not computed
      {0, FieldId::kPrecise, "25.0%"},
      {5, FieldId::kArtist, "Ann"},
      {5, FieldId::kDuration, "3:05"},
      {5, FieldId::kBitrate, "128.00 Kbit"},
      {5, FieldId::kFormat, "MP3"},
      {1, FieldId::kChannels, "Mono"},  // of the partner's analysis
      {0, FieldId::kChannels, "-"},
      {0, FieldId::kRating, "-"},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(Cell(model, test.row, test.field).toStdString(), test.text)
        << test.row << FieldIdentifier(test.field);
  }
  EXPECT_GT(Bar(model, 1, FieldId::kRating).score, 0);
  EXPECT_LT(Bar(model, 1, FieldId::kTags).colorMax.saturation(),
            Bar(model, 0, FieldId::kTags).colorMax.saturation())
      << "inner rows are light";
  EXPECT_EQ(Cell(model, 2, FieldId::kContent, Qt::AccessibleTextRole), "not computed");
  EXPECT_TRUE(
      model.index(1, model.ColumnOf(FieldId::kChannels)).data(CResultsModel::kRedRole).toBool());
  EXPECT_FALSE(model.index(1, 0).data(CResultsModel::kRedRole).toBool());
  EXPECT_EQ(model.GroupAt(4).number, 1U);
  EXPECT_EQ(model.GroupAt(4).last, 4);
}

TEST(TableModels, MiniSpectraAreDrawnAverageBeforePeak) {
  test::CSampleResults results;
  auto info = MakeRef<AnalysisInfo>();
  info->path = "/m/b.mp3";
  info->peakSpectrum.fill(255);
  info->averageSpectrum.fill(51);
  info->peakSpectrum[31] = info->averageSpectrum[31] = 0;
  (void)results->AudioAnalysis().LockedAdd(info);
  (void)results->AudioAnalysis().ProcessNewData();
  CAudioAnalysisModel model(results->AudioAnalysis());
  model.Reload();
  QImage image(70, 52, QImage::Format_RGB32);  // 64 x 50 within the cell's margins
  image.fill(Qt::white);
  QPainter painter(&image);
  QStyleOptionViewItem option;
  option.rect = image.rect();
  TDXMiniSpectrumCell().paint(&painter, option,
                              model.index(0, model.ColumnOf(FieldId::kSpectrogram)));
  painter.end();
  const auto colour = [&](int x, int y) { return image.pixel(x, y); };
  EXPECT_EQ(colour(10, 5), qRgb(255, 150, 150));
  EXPECT_EQ(colour(10, 39), qRgb(255, 150, 150));
  EXPECT_EQ(colour(10, 42), qRgb(150, 150, 255)) << "a fifth of the height";
  EXPECT_EQ(colour(66, 48), qRgb(255, 255, 255)) << "the last band is silent";

  // A file that was not analysed has an empty cell.
  results.AddTwoGroups();
  CAudioDupsModel dups(results->AudioDups(), results->AudioAnalysis());
  dups.Reload();
  const int column = dups.ColumnOf(FieldId::kSpectrogram);
  EXPECT_FALSE(dups.index(0, column).data(CResultsModel::kSpectrumRole).isValid());
  EXPECT_TRUE(dups.index(1, column).data(CResultsModel::kSpectrumRole).isValid());
}

TEST(TableModels, FlatOuterRowsHaveNoScore) {
  test::CSampleResults results;
  results.settings.Set("enableFlatMode", true);
  (void)results->AudioDups().ReloadSettings();
  results.AddTwoGroups();
  CAudioDupsModel model(results->AudioDups(), results->AudioAnalysis());
  model.Reload();
  ASSERT_EQ(model.rowCount(), 11);
  EXPECT_EQ(Cell(model, 0, FieldId::kTags), "");
  EXPECT_FALSE(
      model.index(0, model.ColumnOf(FieldId::kTags)).data(CResultsModel::kScoreRole).isValid());
  EXPECT_EQ(Cell(model, 1, FieldId::kTags), "50.0%");
  EXPECT_EQ(model.ContentsText(), "5 files");
}

TEST(TableModels, ImagesAndAnalysisTranslateTheirTables) {
  test::CSampleResults results;
  (void)results->ImageDups().LockedAdd(
      {test::Picture("/p/a.jpg", 2000), test::Picture("/p/b.jpg", 0), 0, 0, {0.8F, 0.4F}});
  (void)results->ImageDups().ProcessNewData();
  CImageDupsModel images(results->ImageDups());
  const QAbstractItemModelTester imagesTester(&images, kFatal);
  images.Reload();
  EXPECT_EQ(Cell(images, 0, FieldId::kResolution), "2000 x 1000");
  EXPECT_EQ(Cell(images, 1, FieldId::kResolution), "-");
  EXPECT_EQ(Cell(images, 0, FieldId::kFormat), "24bit JPEG");
  EXPECT_EQ(Cell(images, 0, FieldId::kExperimental), "40.0%");
  EXPECT_EQ(images.ColumnOf(FieldId::kArtist), -1);

  CAudioAnalysisController& table = results->AudioAnalysis();
  CAudioAnalysisModel analysis(table);
  const QAbstractItemModelTester analysisTester(&analysis, kFatal);
  (void)table.LockedAdd(Measured("/m/good.flac", 1));
  (void)table.LockedAdd(Measured("/m/bad.mp3", 0.25F));
  (void)table.ProcessNewData();
  analysis.Reload();
  EXPECT_EQ(Cell(analysis, 0, FieldId::kFilename), "bad.mp3") << "the worst file first";
  EXPECT_EQ(Cell(analysis, 1, FieldId::kSampleRate), "44 100");
  EXPECT_TRUE(analysis.index(0, analysis.ColumnOf(FieldId::kBitrate))
                  .data(CResultsModel::kRedRole)
                  .toBool());
  EXPECT_FALSE(analysis.index(1, analysis.ColumnOf(FieldId::kBitrate))
                   .data(CResultsModel::kRedRole)
                   .toBool());
  EXPECT_TRUE(Bar(analysis, 0, FieldId::kRating).colorMin.isValid());
}

// A change of marks is no change of rows: a reset would end a drag and cost a scroll position.
TEST(TableModels, ReloadResetsForOtherRowsOnly) {
  test::CSampleResults results;
  results.AddTwoGroups();
  CAudioDupsModel model(results->AudioDups(), results->AudioAnalysis());
  model.Reload();
  const QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
  const QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
  results->AudioDups().MarkRows({0, 2});
  model.Reload();
  EXPECT_EQ(model.MarkedCount(), 2U);
  EXPECT_TRUE(model.index(0, 0).data(CResultsModel::kRedRole).toBool());
  EXPECT_EQ(reset.count(), 0);
  EXPECT_EQ(changed.count(), 1);
  results.Add("/m/0.mp3", "/m/1.mp3");
  // Between the controller's change and Reload, Qt still asks by the old rows.
  EXPECT_EQ(model.rowCount(), 5);
  results->AudioDups().Clear();
  EXPECT_FALSE(model.index(4, 0).data().isValid());
  model.Reload();
  EXPECT_EQ(reset.count(), 1);
  EXPECT_EQ(model.rowCount(), 0);
}

}  // namespace
}  // namespace quill
