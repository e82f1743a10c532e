// SPDX-License-Identifier: GPL-3.0-or-later
// A media file opened by one demuxer, and the one sound stream of it that is read. The demuxer
// reads through a CInputFile only: it can open neither another file nor a network address.
#pragma once

#include <cstdint>

#include "decoder/input/ffmpeg.h"
#include "decoder/input/input_file.h"

namespace quill::decoder {

class CContainer {
 public:
  // `file` must outlive the container.
  explicit CContainer(CInputFile& file) : m_file(file) {}
  CContainer(const CContainer&) = delete;
  CContainer& operator=(const CContainer&) = delete;

  // `demuxer` is a short name from ProbeSound. Reads no more of the file than its headers, unless
  // these do not tell the streams.
  [[nodiscard]] bool Open(const char* demuxer);
  // A moving picture; the picture of an album's cover is none.
  [[nodiscard]] bool HasVideo() const;
  // Picks the stream that a player would play, and drops all others. Null when there is none that
  // can be decoded.
  [[nodiscard]] const AVCodec* SelectSound();
  // The next packet of the selected stream; false at the end of the file. Skips what is damaged.
  [[nodiscard]] bool NextPacket(AVPacket& packet);

  [[nodiscard]] const AVFormatContext& Context() const { return *m_context; }
  // The selected stream.
  [[nodiscard]] const AVStream& Stream() const { return *m_stream; }

 private:
  static int ReadFile(void* self, uint8_t* buffer, int length);
  static int64_t SeekFile(void* self, int64_t offset, int whence);
  [[nodiscard]] bool KnowsStreams() const;
  [[nodiscard]] bool KnowsDuration() const;

  CInputFile& m_file;
  int64_t m_position = 0;
  int64_t m_bytesLeft = 0;       // of packets, until the file counts as read
  int64_t m_fruitlessBytes = 0;  // read since the last packet
  AvPtr<AVIOContext> m_io;       // the demuxer's, so it must go after it
  AvPtr<AVFormatContext> m_context;
  AVStream* m_stream = nullptr;
};

}  // namespace quill::decoder
