// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/commands/command_loop.h"

#include <unistd.h>

#include <iterator>
#include <tuple>
#include <utility>
#include <vector>

#include "decoder/input/text_field.h"
#include "decoder/link/own_memory.h"
#include "decoder/tags/tag_requests.h"
#include "decoding/wire.h"

namespace quill::decoder {

namespace {

constexpr uint32_t kMaxRows = 1000;
// A reader that wants a minute of sound has decoded half a block too much on the average, so blocks
// are well below the size up to which the mapping stays in place between files.
constexpr uint32_t kAudioBlockBytes = 256 * 1024;
// Codecs may leak, and memory comes back in pieces: past this a fresh process takes over.
constexpr uint64_t kMaxOwnMemory = 512 << 20;

// Before anything of the open is answered, since the application then sends it to the successor.
void LeaveIfGrown() {
  if (OwnMemory() > kMaxOwnMemory) _exit(wire::kExitOrderly);
}

}  // namespace

void CCommandLoop::Run() {
  Handshake();
  while (true) Serve(m_pipe.ReadWord());
}

void CCommandLoop::Handshake() {
  if (m_pipe.ReadWord() != wire::kHandshake) _exit(1);
  const uint32_t first = m_pipe.ReadWord();
  const uint32_t second = m_pipe.ReadWord();
  const uint32_t count = m_pipe.ReadWord();
  if (first != wire::kHandshakeFirst || second != wire::kHandshakeSecond || count > kMaxRows) {
    Reply(wire::kHandshake, Status::kBadHandshake);
    m_pipe.Flush();
    _exit(1);
  }
  std::vector<wire::DecoderRow> rows(count);
  m_pipe.Read(rows.data(), rows.size() * sizeof(wire::DecoderRow));
  m_rows = CDecoderRows(std::move(rows));
  Reply(wire::kHandshake, Status::kOk);
}

void CCommandLoop::Serve(uint32_t command) {
  switch (command) {
    case wire::kAudioOpen:
      return AudioOpen();
    case wire::kAudioClose:
      return AudioClose();
    case wire::kAudioInfo:
      return AudioInfo();
    case wire::kAudioData:
      return AudioData();
    case wire::kImageOpen:
      return ImageOpen();
    case wire::kImageClose:
      return ImageClose();
    case wire::kImageInfo:
      return ImageInfo();
    case wire::kImageData:
      return ImageData();
    case wire::kPurge:
      return Purge();
    case wire::kTagsRead:
      return TagsRead();
    case wire::kTagsWrite:
      return TagsWrite();
    default:
      // Whatever follows cannot be told from another command.
      _exit(1);
  }
}

void CCommandLoop::Reply(uint32_t command, Status status) {
  m_pipe.WriteWord(command);
  m_pipe.WriteWord(static_cast<uint32_t>(status));
}

void CCommandLoop::AudioOpen() {
  const std::string path = m_pipe.ReadString();
  const uint32_t flags = m_pipe.ReadWord();
  m_audio.reset();
  LeaveIfGrown();
  const Status status = m_audio.emplace().Open(path, flags, m_rows);
  Reply(wire::kAudioOpen, status);
  if (status == Status::kOk)
    m_pipe.Write(&m_audio->Format(), sizeof(wire::AudioFormat));
  else
    m_audio.reset();
}

void CCommandLoop::AudioClose() {
  Reply(wire::kAudioClose, m_audio ? Status::kOk : Status::kNothingOpen);
  m_audio.reset();
}

void CCommandLoop::AudioInfo() {
  if (!m_audio) return Reply(wire::kAudioInfo, Status::kNothingOpen);
  wire::AudioInfo info;
  m_audio->FillInfo(info);
  Reply(wire::kAudioInfo, Status::kOk);
  m_pipe.Write(&info, sizeof info);
}

void CCommandLoop::AudioData() {
  if (!m_audio) return Reply(wire::kAudioData, Status::kNothingOpen);
  const std::span<uint8_t> map = m_map.Provide(kAudioBlockBytes);
  if (map.empty()) return Reply(wire::kAudioData, Status::kNoMapping);
  const size_t size = m_audio->Read(map.first(kAudioBlockBytes));
  Reply(wire::kAudioData, Status::kOk);
  m_pipe.WriteWord(static_cast<uint32_t>(size));
}

void CCommandLoop::ImageOpen() {
  const std::string path = m_pipe.ReadString();
  (void)m_pipe.ReadWord();
  m_picture.reset();
  LeaveIfGrown();
  const Status status = m_picture.emplace().Open(path);
  Reply(wire::kImageOpen, status);
  if (status != Status::kOk) m_picture.reset();
}

void CCommandLoop::ImageClose() {
  Reply(wire::kImageClose, m_picture ? Status::kOk : Status::kNothingOpen);
  m_picture.reset();
}

void CCommandLoop::ImageInfo() {
  if (!m_picture) return Reply(wire::kImageInfo, Status::kNothingOpen);
  Reply(wire::kImageInfo, Status::kOk);
  m_pipe.Write(&m_picture->Info(), sizeof(wire::ImageInfo));
}

void CCommandLoop::ImageData() {
  if (!m_picture) return Reply(wire::kImageData, Status::kNothingOpen);
  wire::ImageData data{};
  Status status = m_picture->PreparePixels(data);
  if (status != Status::kOk) return Reply(wire::kImageData, status);
  const std::span<uint8_t> map = m_map.Provide(data.height * data.rowStep);
  if (map.empty()) return Reply(wire::kImageData, Status::kNoMapping);
  status = m_picture->WritePixels(map);
  Reply(wire::kImageData, status);
  if (status == Status::kOk) m_pipe.Write(&data, sizeof data);
}

void CCommandLoop::Purge() {
  m_map.Drop();
  Reply(wire::kPurge, Status::kOk);
}

void CCommandLoop::TagsRead() {
  const std::string path = m_pipe.ReadString();
  (void)m_pipe.ReadWord();
  LeaveIfGrown();
  TagFields fields;
  const Status status = ReadTags(path, &fields);
  Reply(wire::kTagsRead, status);
  if (status != Status::kOk) return;
  for (const std::string& text : fields.texts)
    m_pipe.WriteString(FittingText(text, wire::kStringLimit));
  for (const uint32_t number : fields.numbers) m_pipe.WriteWord(number);
}

void CCommandLoop::TagsWrite() {
  static_assert(std::size(wire::kTagTexts) == std::tuple_size_v<decltype(TagFields::texts)>);
  static_assert(std::size(wire::kTagNumbers) == std::tuple_size_v<decltype(TagFields::numbers)>);
  const std::string path = m_pipe.ReadString();
  (void)m_pipe.ReadWord();
  TagFields fields;
  fields.mask = m_pipe.ReadWord();
  for (size_t i = 0; i < std::size(wire::kTagTexts); ++i)
    if ((fields.mask & wire::kTagTexts[i]) != 0) fields.texts[i] = m_pipe.ReadString();
  for (size_t i = 0; i < std::size(wire::kTagNumbers); ++i)
    if ((fields.mask & wire::kTagNumbers[i]) != 0) fields.numbers[i] = m_pipe.ReadWord();
  LeaveIfGrown();
  Reply(wire::kTagsWrite, WriteTags(path, fields));
}

}  // namespace quill::decoder
