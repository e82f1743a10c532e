// SPDX-License-Identifier: GPL-3.0-or-later
// The client through which everything reads an audio file: four commands over a process link, and
// blocks of interleaved samples in whatever format the file has, read in place from the mapping.
// Belongs to the thread of its link. Results are those of client_reply.h.
#pragma once

#include <cstdint>
#include <string>

#include "decoding/client_reply.h"
#include "decoding/process_link.h"
#include "decoding/wire.h"

namespace quill {

using AudioFormat = wire::AudioFormat;

// Bytes of one frame; 0 for an unknown format.
[[nodiscard]] uint32_t FrameSize(const AudioFormat& format);
// Number of channels (1, 2, 6, 8); 0 for an unknown format.
[[nodiscard]] uint32_t ChannelCount(uint32_t channelsFormat);
// Display name of a format id ("FLAC"), "-" for any other.
[[nodiscard]] const char* FormatName(uint32_t formatId);

class CAudioDecoder {
 public:
  // `link` must outlive the client.
  explicit CAudioDecoder(CProcessLink& link) : m_link(link) {}

  // Starts the child if need be. `flags` is 0 or wire::kRefuseVideo.
  [[nodiscard]] int32_t Open(const std::string& path, uint32_t flags);
  // Clears the record first.
  [[nodiscard]] int32_t GetInfo(wire::AudioInfo* info);
  // The format of the open file, all zero when none is open. No link traffic.
  int32_t GetFormat(AudioFormat* format) const;
  // The next block: `size` bytes at `*block`, valid until the next command on the link. Size 0 is
  // the end of the stream.
  [[nodiscard]] int32_t GetData(const uint8_t** block, uint32_t* size);
  // Also gives a large mapping back.
  int32_t Close();

 private:
  CProcessLink& m_link;
  AudioFormat m_format{};
};

}  // namespace quill
