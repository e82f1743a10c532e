// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/decoded_thumbnails.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <algorithm>
#include <cstring>
#include <vector>

#include "decoding/image_decoder.h"
#include "signal/picture_ops.h"

namespace quill {

namespace {

constexpr int kJpegQuality = 75;  // percent

// No larger than the edge, and with rows one behind the other; null when memory is short.
QImage Small(const PictureView& whole) {
  const int32_t longer = std::max(whole.width, whole.height);
  const double scale = std::min(1.0, static_cast<double>(CThumbnailSource::kEdge) / longer);
  const auto side = [&](int32_t pixels) {
    return std::clamp(static_cast<int32_t>(pixels * scale + 0.5), 1, CThumbnailSource::kEdge);
  };
  const int32_t width = side(whole.width);
  const int32_t height = side(whole.height);
  std::vector<uint8_t> pixels(static_cast<size_t>(width) * height * whole.channels);
  if (PictureAverage(whole, pixels.data(), width, height) != kVecOk) return {};
  return QImage(pixels.data(), width, height, width * whole.channels,
                whole.channels == 4 ? QImage::Format_RGBA8888 : QImage::Format_RGB888)
      .copy();
}

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
  CImageDecoder decoder(m_link);
  if (decoder.Open(path, 0) != kDecodeOk) return {};
  const uint8_t* pixels = nullptr;
  wire::ImageData data{};
  QImage image;
  const int32_t result = decoder.GetData(&pixels, &data);
  if (result == kDecodeOk && data.width != 0 && data.height != 0) {
    image = Small({pixels, static_cast<int32_t>(data.width), static_cast<int32_t>(data.height),
                   ChannelCount(data), data.rowStep});
  }
  if (result != kDecodeLinkFailed) (void)decoder.Close();
  return image.isNull() ? std::string() : Uri(image);
}

}  // namespace quill
