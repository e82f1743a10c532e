// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/image_decoder.h"

#include "decoding/client_reply.h"

namespace quill {

int32_t CImageDecoder::Open(const std::string& path, uint32_t flags) {
  if (path.empty()) return BadArgument("Open", 31);
  uint32_t status = 0;
  const bool answered = m_link.SendCommand([&] {
    return m_link.WriteCmd(wire::kImageOpen) && m_link.Write(std::string_view(path)) &&
           m_link.WriteWord(flags) && m_link.ReadReply(wire::kImageOpen, &status);
  });
  if (!answered) return LinkFailed("Open", 47);
  return static_cast<int32_t>(status);
}

int32_t CImageDecoder::GetInfo(wire::ImageInfo* info) {
  if (!info) return BadArgument("GetInfo", 62);
  *info = {};
  if (!m_link.IsOpen()) return BadArgument("GetInfo", 66);
  uint32_t status = 0;
  if (!AskDecoder(m_link, wire::kImageInfo, &status)) return LinkFailed("GetInfo", 74);
  if (status != 0) return static_cast<int32_t>(status);
  if (!m_link.Read(info, sizeof *info)) {
    *info = {};
    return LinkFailed("GetInfo", 81);
  }
  return kDecodeOk;
}

int32_t CImageDecoder::GetData(const uint8_t** pixels, wire::ImageData* data) {
  if (!pixels || !data) return BadArgument("GetData", 91);
  *pixels = nullptr;
  *data = {};
  if (!m_link.IsOpen()) return BadArgument("GetData", 96);
  uint32_t status = 0;
  if (!AskDecoder(m_link, wire::kImageData, &status)) return LinkFailed("GetData", 104);
  if (status != 0) return static_cast<int32_t>(status);
  wire::ImageData read;
  if (!m_link.Read(&read, sizeof read)) return LinkFailed("GetData", 110);
  // A row that runs over into the next would end behind the mapping in the last one.
  const uint64_t rowBytes = uint64_t{read.width} * static_cast<uint64_t>(ChannelCount(read));
  if (!m_link.Map() || m_link.MapSize() < uint64_t{read.height} * read.rowStep ||
      rowBytes > read.rowStep)
    return NotInMapping(m_link, 115, 117);
  *pixels = m_link.Map();
  *data = read;
  return kDecodeOk;
}

int32_t CImageDecoder::Close() {
  if (!m_link.IsOpen()) return BadArgument("Close", 131);
  uint32_t status = 0;
  if (!AskDecoder(m_link, wire::kImageClose, &status)) return LinkFailed("Close", 138);
  if (status != 0) return static_cast<int32_t>(status);
  return m_link.PurgeMapping() ? kDecodeOk : LinkFailed("Close", 144);
}

}  // namespace quill
