// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/picture/bitmap.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <vector>

#include "decoder/input/byte_order.h"
#include "decoder/input/ffmpeg.h"
#include "decoder/picture/picture_format.h"

namespace quill::decoder {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint32_t kCoreHeader = 12;  // of the first version, with 16-bit sizes
constexpr uint32_t kInfoHeader = 40;
constexpr uint32_t kColourMasks = 3;  // a compression method

void PutLittleEndian32(uint8_t* target, uint32_t value) {
  for (int i = 0; i < 4; ++i) target[i] = static_cast<uint8_t>(value >> 8 * i);
}

// Bytes of a row, which ends at a multiple of four.
uint64_t RowBytes(uint32_t width, uint32_t bits) {
  return (uint64_t{width} * bits + 31) / 32 * 4;
}

class CBitmap : public CPicture {
 public:
  CBitmap(const CInputFile& file, const BitmapPlace& place, const BitmapHeader& header)
      : m_file(file), m_place(place), m_header(header) {
    m_info.format = PictureCode(place.inIcon ? PictureFormat::kIcon : PictureFormat::kBmp);
    m_info.bits = header.bits;
    m_info.width = header.width;
    m_info.height = header.height;
  }

  [[nodiscard]] Status Prepare(PixelForm& form) override;
  [[nodiscard]] Status Write(std::span<uint8_t> target) override;

 private:
  [[nodiscard]] Status ReadPacket(AVPacket& packet) const;
  void ReadMask(Bytes packet);
  [[nodiscard]] bool HasAlpha() const { return m_pixels->nb_components == 4; }
  [[nodiscard]] const uint8_t* Row(uint32_t y) const {
    return m_frame->data[0] + static_cast<ptrdiff_t>(y) * m_frame->linesize[0];
  }
  void WritePalette(uint32_t y, uint8_t* row) const;
  void WriteComponent(uint32_t y, int index, uint8_t* target) const;
  void WriteMask(uint32_t y, uint8_t* row) const;

  const CInputFile& m_file;
  const BitmapPlace m_place;
  const BitmapHeader m_header;
  AvPtr<AVFrame> m_frame;
  const AVPixFmtDescriptor* m_pixels = nullptr;  // of the frame
  std::vector<uint8_t> m_mask;                   // a set bit is a transparent pixel; may be empty
  uint32_t m_channels = 0;
};

// An icon's bitmap gets the file header that it lacks, and its true height: in an icon the mask
// counts as the lower half of the picture.
Status CBitmap::ReadPacket(AVPacket& packet) const {
  const size_t lacking = m_place.inIcon ? kBitmapFileHeader : 0;
  const uint64_t size = m_place.size + lacking;
  if (size > std::numeric_limits<int>::max() - AV_INPUT_BUFFER_PADDING_SIZE)
    return Status::kTooLarge;
  if (av_new_packet(&packet, static_cast<int>(size)) < 0) return Status::kTooLarge;
  if (m_file.ReadAt(m_place.offset, packet.data + lacking, m_place.size) != m_place.size)
    return Status::kCannotRead;
  if (m_place.inIcon) {
    std::memset(packet.data, 0, kBitmapFileHeader);
    std::memcpy(packet.data, "BM", 2);
    PutLittleEndian32(packet.data + 2, static_cast<uint32_t>(size));
    PutLittleEndian32(packet.data + 10, static_cast<uint32_t>(kBitmapFileHeader) +
                                            m_header.headerBytes + m_header.paletteBytes);
    PutLittleEndian32(packet.data + kBitmapFileHeader + 8,
                      m_header.fromBottom ? m_header.height : 0 - m_header.height);
  }
  return Status::kOk;
}

void CBitmap::ReadMask(Bytes packet) {
  const uint64_t offset = kBitmapFileHeader + m_header.headerBytes + m_header.paletteBytes +
                          RowBytes(m_header.width, m_header.bits) * m_header.height;
  const uint64_t size = RowBytes(m_header.width, 1) * m_header.height;
  if (offset + size > packet.size()) return;
  const Bytes mask = packet.subspan(offset, size);
  m_mask.assign(mask.begin(), mask.end());
}

Status CBitmap::Prepare(PixelForm& form) {
  m_frame.reset(av_frame_alloc());
  m_mask.clear();
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_BMP);
  const AvPtr<AVPacket> packet(av_packet_alloc());
  const AvPtr<AVCodecContext> context(avcodec_alloc_context3(codec));
  if (codec == nullptr || m_frame == nullptr || packet == nullptr || context == nullptr)
    return Status::kUnknownFormat;
  if (const Status status = ReadPacket(*packet); status != Status::kOk) return status;
  context->thread_count = 1;
  if (avcodec_open2(context.get(), codec, nullptr) != 0) return Status::kUnknownFormat;
  if (avcodec_send_packet(context.get(), packet.get()) != 0 ||
      avcodec_receive_frame(context.get(), m_frame.get()) != 0)
    return Status::kDamaged;
  m_pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(m_frame->format));
  if (m_pixels == nullptr || m_frame->width != static_cast<int>(m_header.width) ||
      m_frame->height != static_cast<int>(m_header.height))
    return Status::kDamaged;
  if (m_place.inIcon && !HasAlpha()) ReadMask({packet->data, static_cast<size_t>(packet->size)});
  m_channels = HasAlpha() || !m_mask.empty() ? 4 : 3;
  form = {m_header.width, m_header.height, m_channels};
  return Status::kOk;
}

Status CBitmap::Write(std::span<uint8_t> target) {
  const size_t rowStep = size_t{m_header.width} * m_channels;
  if (m_frame == nullptr || target.size() < rowStep * m_header.height) return Status::kNoMapping;
  for (uint32_t y = 0; y < m_header.height; ++y) {
    uint8_t* row = target.data() + y * rowStep;
    if ((m_pixels->flags & AV_PIX_FMT_FLAG_PAL) != 0) {
      WritePalette(y, row);
    } else {
      const bool isGrey = m_pixels->nb_components == 1;
      for (int channel = 0; channel < (HasAlpha() ? 4 : 3); ++channel)
        WriteComponent(y, isGrey ? 0 : channel, row + channel);
    }
    if (!m_mask.empty()) WriteMask(y, row);
  }
  m_frame.reset();
  return Status::kOk;
}

void CBitmap::WritePalette(uint32_t y, uint8_t* row) const {
  const uint8_t* source = Row(y);
  const auto* palette = reinterpret_cast<const uint32_t*>(m_frame->data[1]);
  for (uint32_t x = 0; x < m_header.width; ++x, row += m_channels) {
    const uint32_t colour = palette[source[x]];
    row[0] = static_cast<uint8_t>(colour >> 16);
    row[1] = static_cast<uint8_t>(colour >> 8);
    row[2] = static_cast<uint8_t>(colour);
  }
}

// Component `index` of the stored pixels goes to `target` and on in steps of a pixel.
void CBitmap::WriteComponent(uint32_t y, int index, uint8_t* target) const {
  const AVComponentDescriptor& component = m_pixels->comp[index];
  const uint32_t width = m_header.width;
  const uint32_t step = m_channels;
  if (component.depth == 8) {
    const uint8_t* sample = Row(y) + component.offset;
    const int sourceStep = component.step;
    for (uint32_t x = 0; x < width; ++x, sample += sourceStep, target += step) *target = *sample;
    return;
  }
  std::vector<uint16_t> values(width);
  const uint8_t* planes[4] = {m_frame->data[0]};
  av_read_image_line(values.data(), planes, m_frame->linesize, m_pixels, 0, static_cast<int>(y),
                     index, m_frame->width, 0);
  const uint32_t limit = (1u << component.depth) - 1;
  for (uint32_t x = 0; x < width; ++x)
    target[x * step] = static_cast<uint8_t>((values[x] * 255u + limit / 2) / limit);
}

void CBitmap::WriteMask(uint32_t y, uint8_t* row) const {
  const uint32_t line = m_header.fromBottom ? m_header.height - 1 - y : y;
  const uint8_t* mask = m_mask.data() + line * RowBytes(m_header.width, 1);
  for (uint32_t x = 0; x < m_header.width; ++x)
    row[x * 4 + 3] = (mask[x / 8] & (0x80 >> x % 8)) != 0 ? 0 : 0xFF;
}

}  // namespace

bool IsBitmapFile(Bytes head, uint64_t fileSize) {
  constexpr size_t kPixelOffset = 10;
  BitmapHeader header;
  if (head.size() < kBitmapFileHeader || std::memcmp(head.data(), "BM", 2) != 0) return false;
  const uint32_t offset = LittleEndian32(head.data() + kPixelOffset);
  return offset >= kBitmapFileHeader + kCoreHeader && offset < fileSize &&
         ReadBitmapHeader(head.subspan(kBitmapFileHeader), false, header);
}

bool ReadBitmapHeader(Bytes head, bool inIcon, BitmapHeader& header) {
  constexpr std::array<uint32_t, 7> kHeaders{kCoreHeader, kInfoHeader, 52, 56, 64, 108, 124};
  constexpr std::array<uint32_t, 6> kDepths{1, 4, 8, 16, 24, 32};
  if (head.size() < kCoreHeader) return false;
  header.headerBytes = LittleEndian32(head.data());
  if (std::find(kHeaders.begin(), kHeaders.end(), header.headerBytes) == kHeaders.end())
    return false;
  const bool isCore = header.headerBytes == kCoreHeader;
  if (isCore ? inIcon : head.size() < kInfoHeader) return false;

  header.width = isCore ? LittleEndian16(head.data() + 4) : LittleEndian32(head.data() + 4);
  header.height = isCore ? LittleEndian16(head.data() + 6) : LittleEndian32(head.data() + 8);
  header.fromBottom = header.height <= std::numeric_limits<int32_t>::max();
  if (!header.fromBottom) header.height = 0 - header.height;
  if (inIcon) header.height /= 2;
  header.bits = LittleEndian16(head.data() + (isCore ? 10 : 14));
  header.paletteBytes = 0;
  if (header.bits <= 8) {
    const uint32_t used = isCore ? 0 : LittleEndian32(head.data() + 32);
    const uint32_t possible = 1u << header.bits;
    header.paletteBytes = (used > 0 && used < possible ? used : possible) * (isCore ? 3 : 4);
  } else if (header.headerBytes == kInfoHeader &&
             LittleEndian32(head.data() + 16) == kColourMasks) {
    header.paletteBytes = 12;
  }
  constexpr uint32_t kMaxSize = std::numeric_limits<int32_t>::max();
  return header.width > 0 && header.width <= kMaxSize && header.height > 0 &&
         header.height <= kMaxSize &&
         std::find(kDepths.begin(), kDepths.end(), header.bits) != kDepths.end();
}

std::unique_ptr<CPicture> OpenBitmap(const CInputFile& file) {
  return OpenBitmap(file, {0, file.Size(), false});
}

std::unique_ptr<CPicture> OpenBitmap(const CInputFile& file, const BitmapPlace& place) {
  std::array<uint8_t, kBitmapHeadBytes> buffer{};
  const uint64_t offset = place.offset + (place.inIcon ? 0 : kBitmapFileHeader);
  const Bytes head(buffer.data(), file.ReadAt(offset, buffer.data(), buffer.size()));
  BitmapHeader header;
  if (!ReadBitmapHeader(head, place.inIcon, header)) return nullptr;
  return std::make_unique<CBitmap>(file, place, header);
}

}  // namespace quill::decoder
