// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/image_comparer.h"

#include <array>

#include "core/system_error.h"
#include "image/image_signature.h"

namespace quill {
namespace {

constexpr float kNoScore = -1;
constexpr uint32_t kSignatures = CImageComparer::kContent | CImageComparer::kExperimental;

// What of `mode` a fresh entry still lacks. A signature of another length than ours, which a
// damaged cache file brings, is made anew.
uint32_t Missing(const ImageEntry& entry, uint32_t mode) {
  mode &= ~uint32_t{CImageComparer::kInfo};
  if (entry.content && entry.content->IsWhole()) mode &= ~uint32_t{CImageComparer::kContent};
  if (entry.experimental && entry.experimental->IsWhole())
    mode &= ~uint32_t{CImageComparer::kExperimental};
  return mode;
}

bool Failed(int32_t line) {
  return CSystemError::Bool("PrepareFile", line, false);
}

}  // namespace

CImageComparer::CImageComparer(CImageDecoder& decoder, CImageStore& store,
                               const CIgnoreList& ignores, const ImageSettings& settings,
                               CImagePairSink& sink)
    : m_decoder(decoder), m_store(store), m_ignores(ignores), m_settings(settings), m_sink(sink) {}

bool CImageComparer::ProcessFile(const std::string& path, uint8_t group) {
  if (!m_settings.ComparesAnything()) return false;
  uint32_t mode = kInfo;
  if (m_settings.mode & ImageSettings::kContent) mode |= kContent;
  if (m_settings.mode & ImageSettings::kExperimental) mode |= kExperimental;
  return PrepareFile(path, group, mode) && CompareFile(path);
}

bool CImageComparer::PrepareFile(const std::string& path, uint8_t group, uint32_t mode) {
  if (mode == 0) return Failed(117);
  uint32_t needed = mode;
  ImageEntry known;
  ImageEntry parts;
  FileInfo file;
  const bool isKnown = m_store.FindEntry(path, &known);
  if (isKnown) {
    if (!GetFileInfo(path, &file)) return Failed(134);
    if (file == FileInfoOf(*known.info)) needed = Missing(known, mode);
  }
  if (needed != 0 && !ReadFile(path, isKnown ? &file : nullptr, needed, &parts)) return false;
  return m_store.File(path, parts, group, needed != 0) == CImageStore::Filed::kYes;
}

bool CImageComparer::ReadFile(const std::string& path, const FileInfo* known, uint32_t mode,
                              ImageEntry* parts) {
  if (m_decoder.Open(path, 0) != kDecodeOk) return false;
  std::array<float, kThumbnailSize> thumbnail;
  bool isLost = false;
  const bool read = ReadOpened(path, known, mode, parts, thumbnail.data(), &isLost);
  if (!isLost) (void)m_decoder.Close();
  return read && MakeSignatures(thumbnail.data(), mode, parts);
}

bool CImageComparer::ReadOpened(const std::string& path, const FileInfo* known, uint32_t mode,
                                ImageEntry* parts, float* thumbnail, bool* isLost) {
  const CRef<ImageInfo> info = MakeRef<ImageInfo>();
  if (!info) return Failed(160);
  if (mode & kInfo) {
    FileInfo file;
    if (known) {
      file = *known;
    } else if (!GetFileInfo(path, &file)) {
      return Failed(166);
    }
    info->path = path;
    info->size = file.size;
    info->modified = file.modified;
    wire::ImageInfo read;
    const int32_t result = m_decoder.GetInfo(&read);
    *isLost = result == kDecodeLinkFailed;
    if (*isLost) return Failed(175);
    if (result == kDecodeOk) {
      info->format = static_cast<uint8_t>(read.format);
      info->bits = static_cast<uint8_t>(read.bits);
      info->width = read.width;
      info->height = read.height;
    }
  }
  if (mode & kSignatures) {
    const uint8_t* pixels = nullptr;
    wire::ImageData data;
    const int32_t result = m_decoder.GetData(&pixels, &data);
    *isLost = result == kDecodeLinkFailed;
    if (result != kDecodeOk || !pixels) return Failed(190);
    if (data.width < 2 || data.height < 2) return false;
    info->width = data.width;
    info->height = data.height;
    // The sides fit: the client holds them to the size of the mapping.
    const PictureView picture = {pixels, static_cast<int32_t>(data.width),
                                 static_cast<int32_t>(data.height), ChannelCount(data),
                                 data.rowStep};
    if (!MakeThumbnail(picture, thumbnail)) return Failed(199);
  }
  if (mode & kInfo) parts->info = info;
  return true;
}

bool CImageComparer::MakeSignatures(const float* thumbnail, uint32_t mode, ImageEntry* parts) {
  if (mode & kContent) {
    const CRef<ImageContent> content = MakeRef<ImageContent>();
    if (!content) return Failed(243);
    if (!CalculateCorrelation(thumbnail, kThumbnailSide, kThumbnailSide, content.Get()))
      return Failed(249);
    parts->content = content;
  }
  if (mode & kExperimental) {
    const CRef<ImageExperimental> experimental = MakeRef<ImageExperimental>();
    if (!experimental) return Failed(255);
    if (!CalculateQuadrants(thumbnail, experimental.Get())) return Failed(315);
    parts->experimental = experimental;
  }
  return true;
}

bool CImageComparer::CompareFile(const std::string& path) {
  ImageEntry target;
  if (!m_store.FindEntry(path, &target)) return false;
  const ImageGate gate{static_cast<uint8_t>(target.group)};
  m_contentReady = m_experimentalReady = false;
  return m_store.ForEachBefore(gate, target.ordinal, [&](const ImageEntry& candidate) {
    return ComparePair(target, candidate);
  });
}

bool CImageComparer::ComparePair(const ImageEntry& target, const ImageEntry& candidate) {
  if (m_ignores.IsPairIgnored(target.info->path, candidate.info->path)) return true;
  float content = kNoScore;
  float experimental = kNoScore;
  if (m_settings.mode & ImageSettings::kContent && target.content && candidate.content) {
    if (!m_contentReady) {
      MakeContentTarget(*target.content, &m_content);
      m_contentReady = true;
    }
    content = CmpCorMethod(m_content, *candidate.content);
  }
  if (m_settings.mode & ImageSettings::kExperimental && target.experimental &&
      candidate.experimental) {
    if (!m_experimentalReady) {
      if (!DecompressTranspose(*target.experimental, &m_experimental))
        return CSystemError::Bool("CompareFile", 418, false);
      m_experimentalReady = true;
    }
    experimental = CmpFreqMethod(m_experimental, *candidate.experimental);
  }

  // A score that was not computed is below every threshold.
  if (content >= m_settings.content || experimental >= m_settings.experimental) {
    m_sink.LockedAdd({target.info,
                      candidate.info,
                      static_cast<uint8_t>(target.group),
                      static_cast<uint8_t>(candidate.group),
                      {content, experimental}});
  }
  return true;
}

}  // namespace quill
