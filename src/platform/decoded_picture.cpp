// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/decoded_picture.h"

#include <algorithm>
#include <vector>

#include "decoding/image_decoder.h"
#include "signal/picture_ops.h"

namespace quill {

namespace {

QImage Small(const PictureView& whole, int edge) {
  const int32_t longer = std::max(whole.width, whole.height);
  const double scale = std::min(1.0, static_cast<double>(edge) / longer);
  const auto side = [&](int32_t pixels) {
    return std::clamp(static_cast<int32_t>(pixels * scale + 0.5), 1, std::max(1, edge));
  };
  const int32_t width = side(whole.width);
  const int32_t height = side(whole.height);
  std::vector<uint8_t> pixels(static_cast<size_t>(width) * height * whole.channels);
  if (PictureAverage(whole, pixels.data(), width, height) != kVecOk) return {};
  return QImage(pixels.data(), width, height, width * whole.channels,
                whole.channels == 4 ? QImage::Format_RGBA8888 : QImage::Format_RGB888)
      .copy();
}

}  // namespace

DecodedPicture DecodePicture(CProcessLink& link, const std::string& path, int edge) {
  DecodedPicture picture;
  CImageDecoder decoder(link);
  if (decoder.Open(path, 0) != kDecodeOk) return picture;
  const uint8_t* pixels = nullptr;
  wire::ImageData data{};
  const int32_t result = decoder.GetData(&pixels, &data);
  if (result == kDecodeOk && data.width != 0 && data.height != 0) {
    picture.pixels = {static_cast<int>(data.width), static_cast<int>(data.height)};
    picture.image = Small(
        {pixels, picture.pixels.width(), picture.pixels.height(), ChannelCount(data), data.rowStep},
        edge);
  }
  if (result != kDecodeLinkFailed) (void)decoder.Close();
  return picture;
}

}  // namespace quill
