// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/decoded_thumbnails.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>

#include "platform/decoded_picture.h"

namespace quill {

namespace {

constexpr int kJpegQuality = 75;  // percent

bool IsTransparent(const QImage& image) {
  if (!image.hasAlphaChannel()) return false;
  for (int y = 0; y < image.height(); ++y) {
    const uchar* const row = image.constScanLine(y);
    for (int x = 0; x < image.width(); ++x) {
      if (row[4 * x + 3] != 255) return true;
    }
  }
  return false;
}

std::string Uri(const QImage& image) {
  const bool png = IsTransparent(image);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  const QImage written = png ? image : image.convertToFormat(QImage::Format_RGB888);
  if (!buffer.open(QIODevice::WriteOnly) ||
      !written.save(&buffer, png ? "PNG" : "JPEG", png ? -1 : kJpegQuality))
    return {};
  const char* const head = png ? "data:image/png;base64," : "data:image/jpeg;base64,";
  return head + bytes.toBase64().toStdString();
}

}  // namespace

std::string CDecodedThumbnails::DataUri(const std::string& path) {
  const QImage image = DecodePicture(m_link, path, kEdge).image;
  return image.isNull() ? std::string() : Uri(image);
}

}  // namespace quill
