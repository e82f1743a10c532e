// SPDX-License-Identifier: GPL-3.0-or-later
// The analysis engine of one worker: decodes a file whole at its own rate, one analyser a channel,
// and hands on one record. Unchanged files that the store knows are not decoded. Belongs to the
// worker's thread; only the store, the ignore list and the sink are shared.
#pragma once

#include <string>

#include "audio/analysis_sink.h"
#include "audio/analysis_store.h"
#include "decoding/audio_decoder.h"
#include "signal/real_fft.h"
#include "storage/ignore_list.h"

namespace quill {

class CAudioAnalyser {
 public:
  // All must outlive the analyser.
  CAudioAnalyser(CAudioDecoder& decoder, CAnalysisStore& store, const CIgnoreList& ignores,
                 CAnalysisSink& sink);

  // True if the file has a record that has been handed on; false for a file on the ignore list, for
  // more than two channels (both silently) and for every failure (after a report).
  [[nodiscard]] bool Process(const std::string& path);

 private:
  // Reads the open file to its end; measurements, format and length go into `info`. `isLost` tells
  // that the link is gone.
  [[nodiscard]] bool Measure(AnalysisInfo* info, bool* isLost);

  CAudioDecoder& m_decoder;
  CAnalysisStore& m_store;
  const CIgnoreList& m_ignores;
  CAnalysisSink& m_sink;
  CRealFFT m_fft;  // shared by the channels
};

}  // namespace quill
