// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QWheelEvent>
#include <tuple>

#include "core/configuration.h"
#include "decoding/decoder_table.h"
#include "support/manual_queue.h"
#include "support/temp_folder.h"
#include "ui/images/image_preview_view.h"
#include "ui/images/preview_layout.h"
#include "ui/images/preview_loader.h"
#include "ui/sample_results.h"

namespace quill {
namespace {

TEST(PreviewLayout, EveryPictureIsWholeAndHasItsNeighbours) {
  const QSizeF views[] = {{260, 600}, {260, 400}, {140, 180},  {500, 500},  {501, 500},
                          {700, 300}, {900, 260}, {1600, 180}, {180, 1600}, {400, 140}};
  const std::pair<const char*, std::function<QSizeF(int)>> pictures[] = {
      {"wide", [](int) { return QSizeF(4000, 2000); }},
      {"tall", [](int) { return QSizeF(600, 4000); }},
      {"small", [](int) { return QSizeF(30, 20); }},
      {"a line", [](int) { return QSizeF(20000, 3); }},
      {"unknown", [](int) { return QSizeF(0, 0); }},
      {"mixed", [](int row) { return row % 2 ? QSizeF(3000, 2000) : QSizeF(1000, 3000); }}};
  const std::pair<int, int> places[] = {{0, 1}, {0, 2}, {1, 2}, {1, 3}, {0, 9}, {500, 1000}};
  for (const QSizeF& view : views) {
    for (const auto& [kind, sizeOf] : pictures) {
      for (const auto& [index, count] : places) {
        const std::string told = std::string(kind) + ", row " + std::to_string(index) + " of " +
                                 std::to_string(count) + " in " + std::to_string(view.width()) +
                                 " x " + std::to_string(view.height());
        const auto placed = PlacePreviews(view, index, count, sizeOf);
        ASSERT_FALSE(placed.empty()) << told;
        EXPECT_EQ(placed[0].row, index);
        bool before = index == 0, behind = index == count - 1;
        for (size_t i = 0; i < placed.size(); ++i) {
          const PreviewPlace& place = placed[i];
          // With its frame, of 8.
          EXPECT_TRUE(QRectF(QPointF(), view).contains(place.rect.adjusted(-8, -8, 8, 8))) << told;
          const QSizeF size = sizeOf(place.row);
          if (place.rect.width() > 2 && place.rect.height() > 2 && size.width() > 0) {
            EXPECT_NEAR(place.rect.width() / place.rect.height(), size.width() / size.height(),
                        0.01)
                << told;
          }
          for (size_t j = 0; j < i; ++j)
            EXPECT_FALSE(place.rect.adjusted(-8, -8, 8, 8).intersects(placed[j].rect)) << told;
          before = before || place.row == index - 1;
          behind = behind || place.row == index + 1;
          // The strip goes along the longer side, before to behind.
          const QPointF step = place.rect.center() - placed[0].rect.center();
          const double along = view.width() > view.height() ? step.x() : step.y();
          EXPECT_EQ(along > 0, place.row > index) << told;
        }
        EXPECT_TRUE(before && behind) << told;
        EXPECT_LT(placed.size(), 80U) << "as many as the view takes, whatever the table's size";
      }
    }
  }
  EXPECT_TRUE(PlacePreviews({300, 600}, -1, 5, pictures[0].second).empty());
  const auto alone = PlacePreviews({300, 600}, 0, 1, pictures[0].second);
  EXPECT_EQ(alone[0].rect, QRectF(20, 235, 260, 130)) << "as large as the view allows";
  EXPECT_EQ(PlacePreviews({700, 300}, 0, 1, pictures[0].second)[0].rect, QRectF(90, 20, 520, 260));
}

TEST(PreviewLayout, FitsDownAndNeverUp) {
  const std::tuple<QSizeF, QSizeF, QSizeF> cases[] = {
      {{50, 30}, {100, 100}, {50, 30}},    {{200, 100}, {100, 100}, {100, 50}},
      {{100, 400}, {100, 100}, {25, 100}}, {{400, 200}, {300, 50}, {100, 50}},
      {{0, 400}, {300, 100}, {100, 100}},  {{400, 0}, {100, 200}, {100, 100}}};
  for (const auto& [size, room, fitted] : cases) EXPECT_EQ(FitPreview(size, room), fitted);
}

TEST(PreviewView, TheWheelMovesOnAndTheSelectionBack) {
  test::CSampleResults results;
  for (const char* name : {"b", "c", "d"})
    (void)results->ImageDups().LockedAdd({test::Picture("/p/a.jpg", 2000),
                                          test::Picture(std::string("/p/") + name, 3000),
                                          0,
                                          0,
                                          {0.8F, 0.4F}});
  (void)results->ImageDups().ProcessNewData();
  ASSERT_EQ(results->ImageDups().RowCount(), 4U);
  TDXImagePreviewView view(results->ImageDups(), results.queue);
  const auto turn = [&](int eighths) {
    QWheelEvent wheel(QPointF(9, 9), QPointF(9, 9), {}, {0, eighths}, Qt::NoButton, {},
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&view, &wheel);
    return view.CentreRow();
  };
  EXPECT_EQ(turn(-120), -1) << "nothing is selected";
  view.SetIndex(1);
  EXPECT_EQ(turn(-120), 2);
  EXPECT_EQ(turn(-60), 2);
  EXPECT_EQ(turn(-60), 3) << "two halves of a step";
  EXPECT_EQ(turn(-1200), 3);
  EXPECT_EQ(turn(240), 1);
  EXPECT_EQ(turn(1200), 0);
  view.SetIndex(2);
  EXPECT_EQ(view.CentreRow(), 2);
  EXPECT_EQ(turn(-120), 3);
  results->ImageDups().IgnoreRows({3});
  view.RowsChanged();
  EXPECT_EQ(view.CentreRow(), 2);
}

class PreviewLoaderTest : public testing::Test {
 protected:
  PreviewLoaderTest() {
    CConfiguration::Instance().SetStore(&m_store);
    CDecoderTable::Instance().Reload();
  }
  ~PreviewLoaderTest() override { CConfiguration::Instance().SetStore(nullptr); }

  CPreviewLoader::Loaded Load(const std::string& path, int edge) {
    bool done = false;
    CPreviewLoader::Loaded result;
    CPreviewLoader loader(m_queue, [&](const CPreviewLoader::Loaded& loaded) {
      result = loaded;
      done = true;
    });
    loader.Load(path, edge);
    EXPECT_TRUE(m_queue.RunUntil([&] { return done; }));
    EXPECT_FALSE(loader.IsBusy());
    return result;
  }
  // Red above, blue below.
  QImage Picture() {
    QImage image(80, 60, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QPainter(&image).fillRect(0, 0, 80, 30, Qt::red);
    return image;
  }

  test::CTempFolder m_folder;
  CMemorySettingsStore m_store;
  test::CManualQueue m_queue;
};

TEST_F(PreviewLoaderTest, ShowsPicturesUprightAndSmall) {
  const std::string path = m_folder / "a.jpg";
  ASSERT_TRUE(Picture().save(QString::fromStdString(path), "JPEG", 95));
  // Says that the camera was turned by a quarter.
  std::string bytes = test::ReadAll(path);
  const std::string turned(
      "\xFF\xE1\x00\x22"
      "Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0",
      36);
  bytes.insert(2, turned);
  test::WriteAll(path, bytes);
  const CPreviewLoader::Loaded loaded = Load(path, 40);
  ASSERT_FALSE(loaded.image.isNull());
  EXPECT_EQ(loaded.pixels, QSize(60, 80));
  EXPECT_EQ(loaded.image.size(), QSize(30, 40));
  EXPECT_GT(qRed(loaded.image.pixel(25, 20)), 200) << "what was above is at the right";
  EXPECT_GT(qBlue(loaded.image.pixel(4, 20)), 200);
}

TEST_F(PreviewLoaderTest, TakesNamesThatAreNoTextAndRefusesWhatIsNoPicture) {
  const std::string odd = m_folder / "odd \xFF.png";
  const std::string plain = m_folder / "plain.png";
  ASSERT_TRUE(Picture().save(QString::fromStdString(plain)));
  test::WriteAll(odd, test::ReadAll(plain));
  const CPreviewLoader::Loaded loaded = Load(odd, 40);
  EXPECT_EQ(loaded.path, odd);
  EXPECT_EQ(loaded.pixels, QSize(80, 60));
  EXPECT_EQ(loaded.image.size(), QSize(40, 30));
  EXPECT_GT(qRed(loaded.image.pixel(20, 5)), 200);
  test::WriteAll(m_folder / "text.png", "no picture at all");
  EXPECT_TRUE(Load(m_folder / "text.png", 40).image.isNull());
  EXPECT_TRUE(Load(m_folder / "gone.png", 40).image.isNull());
}

}  // namespace
}  // namespace quill
