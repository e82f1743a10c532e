// SPDX-License-Identifier: GPL-3.0-or-later
// A sound file from its opening to its end: the whole road from a path to blocks of samples. For
// one thread. No failure of a file is worse than an early end of its stream.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "decoder/input/input_file.h"
#include "decoder/link/status.h"
#include "decoder/sound/container.h"
#include "decoder/sound/decoder_rows.h"
#include "decoder/sound/frame_decoder.h"
#include "decoder/sound/sample_output.h"
#include "decoder/sound/sound_length.h"
#include "decoding/wire.h"

namespace quill::decoder {

class CAudioFile {
 public:
  CAudioFile() = default;
  CAudioFile(const CAudioFile&) = delete;
  CAudioFile& operator=(const CAudioFile&) = delete;

  // Once per object. `flags` is 0 or wire::kRefuseVideo. Decodes the first frame: only that tells
  // the true rate and channels of some codecs.
  [[nodiscard]] Status Open(const std::string& path, uint32_t flags, const CDecoderRows& rows);
  [[nodiscard]] const wire::AudioFormat& Format() const { return m_output.Format(); }
  void FillInfo(wire::AudioInfo& info) const;

  // Fills the start of `block` with whole frames and gives the number of bytes, 0 at the end of the
  // stream. Until samples that differ have gone out, a block has kShortBlockFrames at most: whoever
  // measures the smallest step between samples wants to know it before the bulk arrives.
  [[nodiscard]] size_t Read(std::span<uint8_t> block);

 private:
  static constexpr uint32_t kShortBlockFrames = 256;

  [[nodiscard]] bool InitOutput();
  // Samples of m_frame from m_framePosition on, after decoding as far as needed; 0 at the end.
  [[nodiscard]] uint32_t Available();
  void NoteVariation(std::span<const uint8_t> block);

  CInputFile m_file;
  CContainer m_container{m_file};
  CFrameDecoder m_decoder{m_container};
  CSampleOutput m_output;
  const AVFrame* m_frame = nullptr;  // the decoder's, being handed out; null at the end
  uint32_t m_framePosition = 0;      // samples of it that have gone out
  SoundLength m_length;
  uint64_t m_delayLeft = 0;           // frames still to drop
  uint64_t m_framesLeft = 0;          // frames still to hand out
  std::array<uint8_t, 32> m_start{};  // the first sample of all channels
  bool m_hasStart = false;
  bool m_varied = false;  // some sample has differed from the first
};

}  // namespace quill::decoder
