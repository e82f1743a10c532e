// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/sound/container.h"

#include <algorithm>
#include <cerrno>

namespace quill::decoder {

namespace {

constexpr int kIoBufferBytes = 32768;
// Read errors in a row after which a file counts as ended.
constexpr int kMaxReadErrors = 64;
// A damaged index can lead a demuxer in circles. Packets are parts of the file, so their sum does
// not exceed its size by much.
constexpr int64_t kMaxRepeats = 8;
constexpr int64_t kSmallFileBytes = 1 << 16;

// Read with no packet coming of it: the search for a sync word in a hole ends here.
constexpr int64_t kMaxFruitlessBytes = 64 << 20;

int RefuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
  return AVERROR(EACCES);
}

// Which of several sound streams to play: the one marked as default, and none that is a special
// version, if there is another.
int Rank(const AVStream& stream) {
  constexpr int kSpecial = AV_DISPOSITION_HEARING_IMPAIRED | AV_DISPOSITION_VISUAL_IMPAIRED |
                           AV_DISPOSITION_COMMENT | AV_DISPOSITION_KARAOKE;
  return ((stream.disposition & kSpecial) == 0 ? 2 : 0) +
         ((stream.disposition & AV_DISPOSITION_DEFAULT) != 0 ? 1 : 0);
}

}  // namespace

int CContainer::ReadFile(void* self, uint8_t* buffer, int length) {
  auto* container = static_cast<CContainer*>(self);
  if (container->m_fruitlessBytes > kMaxFruitlessBytes) return AVERROR_EOF;
  const size_t count = container->m_file.ReadAt(static_cast<uint64_t>(container->m_position),
                                                buffer, static_cast<size_t>(length));
  container->m_position += static_cast<int64_t>(count);
  container->m_fruitlessBytes += static_cast<int64_t>(count);
  return count == 0 ? AVERROR_EOF : static_cast<int>(count);
}

int64_t CContainer::SeekFile(void* self, int64_t offset, int whence) {
  auto* container = static_cast<CContainer*>(self);
  const auto size = static_cast<int64_t>(container->m_file.Size());
  switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
      return size;
    case SEEK_SET:
      break;
    case SEEK_CUR:
      offset += container->m_position;
      break;
    case SEEK_END:
      offset += size;
      break;
    default:
      return AVERROR(EINVAL);
  }
  if (offset < 0) return AVERROR(EINVAL);
  return container->m_position = offset;
}

bool CContainer::Open(const char* demuxer) {
  const AVInputFormat* format = av_find_input_format(demuxer);
  auto* buffer = static_cast<uint8_t*>(av_malloc(kIoBufferBytes));
  if (format == nullptr || buffer == nullptr) return false;
  m_io.reset(avio_alloc_context(buffer, kIoBufferBytes, 0, this, ReadFile, nullptr, SeekFile));
  AVFormatContext* context = avformat_alloc_context();
  if (m_io == nullptr || context == nullptr) return false;
  m_bytesLeft = kMaxRepeats * (static_cast<int64_t>(m_file.Size()) + kSmallFileBytes);
  context->pb = m_io.get();
  context->flags |= AVFMT_FLAG_CUSTOM_IO;
  context->io_open = RefuseToOpen;
  context->protocol_whitelist = av_strdup("");
  // A failure frees the context.
  if (avformat_open_input(&context, nullptr, format, nullptr) < 0) return false;
  m_context.reset(context);

  const bool knowsStreams = KnowsStreams();
  if (knowsStreams && KnowsDuration()) {
    context->probesize = 1 << 12;  // how far PCM is searched for other codecs in disguise
    return true;
  }
  // Only as far as is needed: all streams, or just the bit rate, from which a duration follows.
  context->probesize = knowsStreams ? 1 << 15 : 1 << 21;
  context->max_analyze_duration = 2 * AV_TIME_BASE;
  context->fps_probe_size = 0;
  return avformat_find_stream_info(context, nullptr) >= 0;
}

bool CContainer::KnowsStreams() const {
  if ((m_context->ctx_flags & AVFMTCTX_NOHEADER) != 0) return false;
  return std::any_of(m_context->streams, m_context->streams + m_context->nb_streams,
                     [](const AVStream* stream) {
                       return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO &&
                              stream->codecpar->codec_id != AV_CODEC_ID_NONE;
                     });
}

bool CContainer::KnowsDuration() const {
  return m_context->duration > 0 ||
         std::any_of(m_context->streams, m_context->streams + m_context->nb_streams,
                     [](const AVStream* stream) { return stream->duration > 0; });
}

bool CContainer::HasVideo() const {
  return std::any_of(m_context->streams, m_context->streams + m_context->nb_streams,
                     [](const AVStream* stream) {
                       return stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
                              (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
                     });
}

const AVCodec* CContainer::SelectSound() {
  const AVCodec* codec = nullptr;
  int bestRank = -1;
  for (unsigned i = 0; i < m_context->nb_streams; ++i) {
    AVStream* stream = m_context->streams[i];
    stream->discard = AVDISCARD_ALL;
    if (stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    const AVCodec* candidate = avcodec_find_decoder(stream->codecpar->codec_id);
    if (candidate == nullptr || Rank(*stream) <= bestRank) continue;
    codec = candidate;
    bestRank = Rank(*stream);
    m_stream = stream;
  }
  if (m_stream != nullptr) m_stream->discard = AVDISCARD_DEFAULT;
  return codec;
}

bool CContainer::NextPacket(AVPacket& packet) {
  for (int errors = 0; errors < kMaxReadErrors;) {
    av_packet_unref(&packet);
    const int result = av_read_frame(m_context.get(), &packet);
    if (result == AVERROR_EOF) return false;
    if (result < 0) {
      ++errors;
      continue;
    }
    m_fruitlessBytes = 0;
    m_bytesLeft -= packet.size + 1;
    if (m_bytesLeft < 0) return false;
    if (packet.stream_index == m_stream->index) return true;
  }
  return false;
}

}  // namespace quill::decoder
