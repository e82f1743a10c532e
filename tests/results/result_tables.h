// SPDX-License-Identifier: GPL-3.0-or-later
// The results tables of a test, empty, over stores and settings of their own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "core/configuration.h"
#include "results/audio_analysis_controller.h"
#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"

namespace quill::test {

using Lines = std::vector<std::string>;

struct COwnSettings {
  COwnSettings() { CConfiguration::Instance().SetStore(&store); }
  ~COwnSettings() { CConfiguration::Instance().SetStore(nullptr); }
  CMemorySettingsStore store;
};

// The description of a file of which nothing but its path is known.
template <class Base>
CRef<Base> At(std::string path) {
  CRef<Base> base = MakeRef<Base>();
  base->path = std::move(path);
  return base;
}

struct Sound {
  std::string path;
  uint32_t bitrate = 0;
  uint64_t size = 0;
  uint32_t durationMs = 0;
  std::string artist = {}, title = {};
  uint8_t group = 1;
};

class CResultTables : public testing::Test {
 protected:
  // A pair of sounds that has arrived.
  void Pair(const Sound& a, const Sound& b, const AudioDupsTraits::Scores& scores = {1, 1, 1}) {
    const auto base = [&](const Sound& s) {
      return m_audioStore.GetCache(
          {s.path, s.artist, "", s.title, s.durationMs, s.bitrate, 6, s.size});
    };
    m_audio.LockedAdd({base(a), base(b), a.group, b.group, scores});
    ASSERT_TRUE(m_audio.ProcessNewData());
  }
  // The files of a table in the order of their rows, marked ones with a star.
  template <class Table>
  static Lines Files(const Table& table) {
    Lines files;
    for (int32_t row = 0; row < static_cast<int32_t>(table.RowCount()); ++row) {
      const auto* item = table.TableAt(row);
      if constexpr (requires { item->pair; }) {
        if (!item->pair) files.push_back((item->item->marked ? "*" : "") + item->item->base->path);
      } else {
        files.push_back((item->marked ? "*" : "") + item->base->path);
      }
    }
    return files;
  }

  COwnSettings m_settings;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_audioStore{m_cache, m_counters};
  CImageStore m_imageStore{m_cache, m_counters};
  CAnalysisStore m_analysisStore{m_cache};
  CIgnoreList m_ignores;
  CAudioDupsController m_audio{m_audioStore, m_ignores};
  CImageDupsController m_images{m_imageStore, m_ignores};
  CAudioAnalysisController m_analysis{m_analysisStore, m_ignores};
};

}  // namespace quill::test
