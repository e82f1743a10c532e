// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/picture/vips_picture.h"

#include <unistd.h>
#include <vips/vips.h>

#include <algorithm>
#include <array>
#include <utility>

#include "decoder/picture/stored_depth.h"

namespace quill::decoder {

namespace {

// Decoded at a time, on this thread: the library's own way of writing an image hands each to
// another thread, which takes longer than decoding a thumbnail.
constexpr int kStripRows = 16;

struct ObjectDeleter {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using VipsPtr = std::unique_ptr<T, ObjectDeleter>;
using Image = VipsPtr<VipsImage>;

void IgnoreLog(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

// Takes tens of milliseconds, so it waits for the first picture.
bool StartVips() {
  static const bool started = [] {
    g_log_set_default_handler(IgnoreLog, nullptr);  // warnings about damaged files
    if (vips_init("decoder") != 0) return false;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    vips_block_untrusted_set(TRUE);
    vips_operation_block_set("VipsForeignLoad", TRUE);
    for (const char* loader : {"VipsForeignLoadJpeg", "VipsForeignLoadPng", "VipsForeignLoadNsgif",
                               "VipsForeignLoadTiff", "VipsForeignLoadWebp", "VipsForeignLoadHeif",
                               "VipsForeignLoadJxl"})
      vips_operation_block_set(loader, FALSE);
    return true;
  }();
  return started;
}

const char* LoaderOf(PictureFormat format) {
  switch (format) {
    case PictureFormat::kJpeg:
      return "jpegload_source";
    case PictureFormat::kPng:
      return "pngload_source";
    case PictureFormat::kGif:
      return "gifload_source";
    case PictureFormat::kTiff:
      return "tiffload_source";
    case PictureFormat::kWebp:
      return "webpload_source";
    case PictureFormat::kHeif:
      return "heifload_source";
    default:
      return "jxlload_source";
  }
}

// The result of `operation`, which takes an image and the address of another; null for null.
template <class Operation>
Image Apply(const Image& image, const Operation& operation) {
  VipsImage* result = nullptr;
  if (image != nullptr) operation(image.get(), &result);
  return Image(result);
}

bool IsPlainColour(VipsInterpretation interpretation) {
  switch (interpretation) {
    case VIPS_INTERPRETATION_sRGB:
    case VIPS_INTERPRETATION_RGB:
    case VIPS_INTERPRETATION_RGB16:
    case VIPS_INTERPRETATION_B_W:
    case VIPS_INTERPRETATION_GREY16:
    case VIPS_INTERPRETATION_MULTIBAND:
      return true;
    default:
      return false;
  }
}

bool IsDeepInteger(VipsBandFormat format) {
  return format == VIPS_FORMAT_USHORT || format == VIPS_FORMAT_SHORT ||
         format == VIPS_FORMAT_UINT || format == VIPS_FORMAT_INT;
}

Image ToBytes(const Image& image) {
  return Apply(image, [](VipsImage* in, VipsImage** out) {
    return vips_cast(in, out, VIPS_FORMAT_UCHAR, "shift", IsDeepInteger(in->BandFmt), nullptr);
  });
}

Image Bands(const Image& image, int first, int count) {
  return Apply(image, [=](VipsImage* in, VipsImage** out) {
    return vips_extract_band(in, out, first, "n", count, nullptr);
  });
}

Image GreyToColour(const Image& image) {
  const Image grey = Bands(image, 0, 1);
  if (grey == nullptr) return nullptr;
  return Apply(image, [&](VipsImage* in, VipsImage** out) {
    std::array<VipsImage*, 3> bands{grey.get(), grey.get(), in};  // the last may bring alpha
    return vips_bandjoin(bands.data(), out, static_cast<int>(bands.size()), nullptr);
  });
}

// By the profile of the file, or by the library's own when there is none that fits.
Image InksToColour(const Image& image) {
  constexpr int kInks = 4;
  Image colour = Apply(Bands(image, 0, kInks), [](VipsImage* in, VipsImage** out) {
    return vips_icc_transform(in, out, "srgb", "embedded", TRUE, "input_profile", "cmyk", "intent",
                              VIPS_INTENT_RELATIVE, "depth", 8, nullptr);
  });
  if (image->Bands != kInks + 1) return colour;
  // The library's versions differ on whether a deep alpha is brought down with the inks.
  const Image alpha = ToBytes(Bands(image, kInks, 1));
  if (alpha == nullptr) return nullptr;
  return Apply(colour, [&](VipsImage* in, VipsImage** out) {
    return vips_bandjoin2(in, alpha.get(), out, nullptr);
  });
}

// Three or four bands of 8 bits each; null when the picture is of no colours that are known.
Image ToPixels(Image image) {
  const VipsInterpretation colours =
      image != nullptr ? vips_image_guess_interpretation(image.get()) : VIPS_INTERPRETATION_ERROR;
  if (colours == VIPS_INTERPRETATION_CMYK)
    image = InksToColour(image);
  else if (!IsPlainColour(colours))
    image = Apply(image, [](VipsImage* in, VipsImage** out) {
      return vips_colourspace(in, out, VIPS_INTERPRETATION_sRGB, nullptr);
    });
  if (image != nullptr && image->BandFmt != VIPS_FORMAT_UCHAR) image = ToBytes(image);
  if (image != nullptr && image->Bands < 3) image = GreyToColour(image);
  if (image != nullptr && image->Bands > 4) image = Bands(image, 0, 3);
  return image;
}

class CVipsPicture : public CPicture {
 public:
  CVipsPicture(const CInputFile& file, PictureFormat format) : m_file(&file), m_format(format) {}
  explicit CVipsPicture(std::vector<uint8_t> bytes)
      : m_bytes(std::move(bytes)), m_format(PictureFormat::kPng) {}

  [[nodiscard]] bool Open();
  [[nodiscard]] Status Prepare(PixelForm& form) override;
  [[nodiscard]] Status Write(std::span<uint8_t> target) override;

 private:
  [[nodiscard]] bool Load();
  [[nodiscard]] uint32_t StoredDepth() const;

  const CInputFile* m_file = nullptr;  // null when m_bytes are the whole picture
  const std::vector<uint8_t> m_bytes;
  const PictureFormat m_format;
  Image m_loaded;  // its rows can be read once
  Image m_pixels;
};

bool CVipsPicture::Load() {
  VipsPtr<VipsSource> source;
  if (m_file != nullptr) {
    lseek(m_file->Descriptor(), 0, SEEK_SET);  // the source goes on from here
    source.reset(vips_source_new_from_descriptor(m_file->Descriptor()));
  } else {
    source.reset(vips_source_new_from_memory(m_bytes.data(), m_bytes.size()));
  }
  VipsImage* image = nullptr;
  if (source != nullptr)
    vips_call(LoaderOf(m_format), source.get(), &image, "access", VIPS_ACCESS_SEQUENTIAL, "fail_on",
              VIPS_FAIL_ON_NONE, nullptr);
  m_loaded.reset(image);
  vips_error_clear();
  return m_loaded != nullptr;
}

bool CVipsPicture::Open() {
  if (!StartVips() || !Load()) return false;
  m_info.format = PictureCode(m_file != nullptr ? m_format : PictureFormat::kIcon);
  m_info.bits = StoredDepth();
  m_info.width = static_cast<uint32_t>(m_loaded->Xsize);
  m_info.height = static_cast<uint32_t>(m_loaded->Ysize);
  return true;
}

uint32_t CVipsPicture::StoredDepth() const {
  uint32_t depth = 0;
  if (m_format == PictureFormat::kGif) depth = 8;
  if (m_format == PictureFormat::kTiff) depth = TiffDepth(*m_file);
  if (m_format == PictureFormat::kPng) {
    std::array<uint8_t, 32> head{};
    if (m_file != nullptr)
      depth = PngDepth(std::span(head).first(m_file->ReadAt(0, head.data(), head.size())));
    else
      depth = PngDepth(m_bytes);
  }
  return depth != 0 ? depth : static_cast<uint32_t>(VIPS_IMAGE_SIZEOF_PEL(m_loaded.get()) * 8);
}

Status CVipsPicture::Prepare(PixelForm& form) {
  if (m_loaded == nullptr && !Load()) return Status::kDamaged;
  m_pixels = ToPixels(std::move(m_loaded));
  vips_error_clear();
  if (m_pixels == nullptr) return Status::kDamaged;
  form.width = static_cast<uint32_t>(m_pixels->Xsize);
  form.height = static_cast<uint32_t>(m_pixels->Ysize);
  form.channels = static_cast<uint32_t>(m_pixels->Bands);
  return Status::kOk;
}

Status CVipsPicture::Write(std::span<uint8_t> target) {
  const Image pixels = std::move(m_pixels);
  if (pixels == nullptr) return Status::kNothingOpen;
  const Image memory(vips_image_new_from_memory(target.data(), target.size(), pixels->Xsize,
                                                pixels->Ysize, pixels->Bands, VIPS_FORMAT_UCHAR));
  if (memory == nullptr) return Status::kDamaged;
  const VipsPtr<VipsRegion> source(vips_region_new(pixels.get()));
  const VipsPtr<VipsRegion> rows(vips_region_new(memory.get()));
  bool written = true;
  for (int top = 0; written && top < pixels->Ysize; top += kStripRows) {
    const VipsRect strip{0, top, pixels->Xsize, std::min(kStripRows, pixels->Ysize - top)};
    written = vips_region_image(rows.get(), &strip) == 0 &&
              vips_region_prepare_to(source.get(), rows.get(), &strip, 0, top) == 0;
  }
  vips_error_clear();
  return written ? Status::kOk : Status::kDamaged;
}

}  // namespace

std::unique_ptr<CPicture> OpenVipsPicture(const CInputFile& file, PictureFormat format) {
  auto picture = std::make_unique<CVipsPicture>(file, format);
  if (!picture->Open()) return nullptr;
  return picture;
}

std::unique_ptr<CPicture> OpenIconPng(std::vector<uint8_t> bytes) {
  auto picture = std::make_unique<CVipsPicture>(std::move(bytes));
  if (!picture->Open()) return nullptr;
  return picture;
}

}  // namespace quill::decoder
