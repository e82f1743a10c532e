// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/decoded_thumbnails.h"

#include <gtest/gtest.h>

#include <QImage>
#include <csignal>

#include "core/configuration.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

QImage Decoded(const std::string& uri, const std::string& type) {
  const std::string head = "data:image/" + type + ";base64,";
  if (!uri.starts_with(head)) return {};
  return QImage::fromData(
      QByteArray::fromBase64(QByteArray::fromStdString(uri.substr(head.size()))));
}

TEST(DecodedThumbnails, AreSmallAndShowThePicture) {
  std::signal(SIGPIPE, SIG_IGN);
  CMemorySettingsStore store;
  CConfiguration::Instance().SetStore(&store);
  CDecoderTable::Instance().Reload();
  const test::CTempFolder folder;
  const auto save = [&](const char* name, QSize size, QColor colour) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    EXPECT_TRUE(image.save(QString::fromStdString(folder / name)));
    return folder / name;
  };
  CDecodedThumbnails thumbnails(CDecoderTable::Instance());

  const QImage wide = Decoded(thumbnails.DataUri(save("a.png", {1000, 300}, Qt::red)), "jpeg");
  EXPECT_EQ(wide.size(), QSize(128, 38));
  EXPECT_GT(wide.pixelColor(60, 20).red(), 240);
  EXPECT_LT(wide.pixelColor(60, 20).green(), 20);
  EXPECT_EQ(Decoded(thumbnails.DataUri(save("b.png", {2, 5000}, Qt::red)), "jpeg").size(),
            QSize(1, 128));
  EXPECT_EQ(Decoded(thumbnails.DataUri(save("c.png", {20, 10}, Qt::red)), "jpeg").size(),
            QSize(20, 10))
      << "never larger than it is";
  const QImage glass =
      Decoded(thumbnails.DataUri(save("d.png", {300, 300}, {0, 0, 255, 99})), "png");
  EXPECT_EQ(glass.pixelColor(5, 5), QColor(0, 0, 255, 99));

  // What cannot be read, and what comes behind it.
  test::WriteAll(folder / "broken.png", "no picture");
  EXPECT_EQ(thumbnails.DataUri(folder / "broken.png"), "");
  EXPECT_EQ(thumbnails.DataUri(folder / "none.png"), "");
  EXPECT_NE(thumbnails.DataUri(folder / "c.png"), "");
  CConfiguration::Instance().SetStore(nullptr);
}

}  // namespace
}  // namespace quill
