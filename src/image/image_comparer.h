// SPDX-License-Identifier: GPL-3.0-or-later
// The image engine of one worker: makes a picture's signatures unless the store has them fresh,
// files them, and compares the picture with every earlier one of the scan. One object belongs to
// one worker thread; the store, the ignore list, the settings and the sink are shared.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "decoding/image_decoder.h"
#include "image/image_pair_sink.h"
#include "image/image_scores.h"
#include "image/image_settings.h"
#include "image/image_store.h"
#include "storage/file_info.h"
#include "storage/ignore_list.h"

namespace quill {

class CImageComparer {
 public:
  // What is asked for, as bits of a mode.
  using enum ImageEntry::Part;

  // All must outlive the comparer.
  CImageComparer(CImageDecoder& decoder, CImageStore& store, const CIgnoreList& ignores,
                 const ImageSettings& settings, CImagePairSink& sink);

  // Every file is tried as a picture, whatever its name. True when the file is finished and counts;
  // false when nothing is to be done, when a step failed or when the file is no picture (the
  // ordinary case: no report).
  [[nodiscard]] bool ProcessFile(const std::string& path, uint8_t group);

  // True when the file has joined the present scan now, with all parts of `mode`. The decoder is
  // opened only if something is missing.
  [[nodiscard]] bool PrepareFile(const std::string& path, uint8_t group, uint32_t mode);
  // Walks all files of lower ordinal and reports the pairs. False when the path is unknown or a
  // step failed; pairs reported before stay.
  [[nodiscard]] bool CompareFile(const std::string& path);

 private:
  // Steps of PrepareFile. `known` is null unless the file system has been asked already.
  [[nodiscard]] bool ReadFile(const std::string& path, const FileInfo* known, uint32_t mode,
                              ImageEntry* parts);
  // What is done with the open file. `isLost`: the decoder cannot be told to close it.
  [[nodiscard]] bool ReadOpened(const std::string& path, const FileInfo* known, uint32_t mode,
                                ImageEntry* parts, float* thumbnail, bool* isLost);
  [[nodiscard]] static bool MakeSignatures(const float* thumbnail, uint32_t mode,
                                           ImageEntry* parts);

  // False when a step failed; a pair that is cut or not alike is no failure.
  [[nodiscard]] bool ComparePair(const ImageEntry& target, const ImageEntry& candidate);

  CImageDecoder& m_decoder;
  CImageStore& m_store;
  const CIgnoreList& m_ignores;
  const ImageSettings& m_settings;
  CImagePairSink& m_sink;
  // The file in hand, made ready at the first pair of a walk that needs it.
  bool m_contentReady = false;
  bool m_experimentalReady = false;
  ContentTarget m_content;
  ExperimentalTarget m_experimental;
};

}  // namespace quill
