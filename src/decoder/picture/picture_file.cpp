// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/picture/picture_file.h"

#include <limits>

#include "decoder/picture/bitmap.h"
#include "decoder/picture/icon.h"
#include "decoder/picture/picture_probe.h"
#include "decoder/picture/vips_picture.h"

namespace quill::decoder {

namespace {

constexpr uint64_t kMaxPixels = uint64_t{30000} * 30000;

}  // namespace

Status CPictureFile::Open(const std::string& path) {
  if (!m_file.Open(path)) return Status::kCannotRead;
  const PictureFormat format = ProbePicture(m_file);
  switch (format) {
    case PictureFormat::kNone:
      break;
    case PictureFormat::kBmp:
      m_picture = OpenBitmap(m_file);
      break;
    case PictureFormat::kIcon:
      m_picture = OpenIcon(m_file);
      break;
    default:
      m_picture = OpenVipsPicture(m_file, format);
  }
  return m_picture != nullptr ? Status::kOk : Status::kUnknownFormat;
}

Status CPictureFile::PreparePixels(wire::ImageData& data) {
  const auto isTooLarge = [](uint64_t width, uint64_t height, uint64_t channels) {
    return width * height > kMaxPixels ||
           width * height * channels > std::numeric_limits<uint32_t>::max();
  };
  if (isTooLarge(Info().width, Info().height, 1)) return Status::kTooLarge;
  PixelForm form{};
  if (const Status status = m_picture->Prepare(form); status != Status::kOk) return status;
  if (isTooLarge(form.width, form.height, form.channels)) return Status::kTooLarge;
  data.width = form.width;
  data.height = form.height;
  data.rowStep = form.width * form.channels;
  data.flags = form.channels == 4 ? wire::kImageAlpha : 0;
  return Status::kOk;
}

}  // namespace quill::decoder
