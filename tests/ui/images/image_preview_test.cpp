#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

#include "core/configuration.h"
#include "decoding/decoder_table.h"
#include "support/manual_queue.h"
#include "support/temp_folder.h"
#include "ui/images/preview_layout.h"
#include "ui/images/preview_loader.h"

namespace quill {
namespace {

TEST(PreviewLayout, TheSelectedPictureStandsInTheMiddleAndTheOthersAroundIt) {
  const auto wide = [](int) { return QSizeF(4000, 2000); };
  EXPECT_TRUE(PlacePreviews({300, 600}, -1, 5, wide).empty());
  const auto alone = PlacePreviews({300, 600}, 0, 1, wide);
  ASSERT_EQ(alone.size(), 1u);
  EXPECT_EQ(alone[0].rect, QRectF(20, 235, 260, 130));
  EXPECT_EQ(PreviewBestEdge(120), 100);

  const auto places = PlacePreviews({300, 600}, 500, 1000, wide);
  EXPECT_LT(places.size(), 12u) << "as many as the height takes, whatever the table's size";
  EXPECT_EQ(places[0].row, 500);
  EXPECT_EQ(places[1].row, 499);
  EXPECT_EQ(places[1].rect, QRectF(100, 165, 100, 50));
  for (size_t i = 0; i < places.size(); ++i) {
    EXPECT_LE(places[i].rect.top(), 600);
    EXPECT_GE(places[i].rect.bottom(), 0);
    for (size_t j = 0; j < i; ++j) EXPECT_FALSE(places[i].rect.intersects(places[j].rect));
  }
}

TEST(PreviewLayout, FitsDownAndNeverUp) {
  EXPECT_EQ(FitPreview({50, 30}, 100), QSizeF(50, 30));
  EXPECT_EQ(FitPreview({200, 100}, 100), QSizeF(100, 50));
  EXPECT_EQ(FitPreview({100, 400}, 100), QSizeF(25, 100));
  EXPECT_EQ(FitPreview({0, 400}, 100), QSizeF(100, 100));
  EXPECT_EQ(FitPreview({400, 0}, 100), QSizeF(100, 100));
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
