// SPDX-License-Identifier: GPL-3.0-or-later
// Serves the application's commands one after another, from the handshake until the pipe closes.
// Every command is answered by its id and a status, and by data where the status is zero.
#pragma once

#include <optional>

#include "decoder/link/pipe.h"
#include "decoder/link/shared_map.h"
#include "decoder/link/status.h"
#include "decoder/picture/picture_file.h"
#include "decoder/sound/audio_file.h"
#include "decoder/sound/decoder_rows.h"

namespace quill::decoder {

class CCommandLoop {
 public:
  explicit CCommandLoop(CPipe& pipe) : m_pipe(pipe), m_map(pipe) {}
  CCommandLoop(const CCommandLoop&) = delete;
  CCommandLoop& operator=(const CCommandLoop&) = delete;

  [[noreturn]] void Run();

 private:
  void Handshake();
  void Serve(uint32_t command);
  void Reply(uint32_t command, Status status);
  void AudioOpen();
  void AudioClose();
  void AudioInfo();
  void AudioData();
  void ImageOpen();
  void ImageClose();
  void ImageInfo();
  void ImageData();
  void Purge();
  void TagsRead();
  void TagsWrite();

  CPipe& m_pipe;
  CSharedMap m_map;
  CDecoderRows m_rows;
  std::optional<CAudioFile> m_audio;
  std::optional<CPictureFile> m_picture;
};

}  // namespace quill::decoder
