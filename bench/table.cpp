// SPDX-License-Identifier: GPL-3.0-or-later
// A duplicates table that grows to 100000 pairs by batches of 1000 while it is on screen, and is
// sorted again by other columns then. The main thread must not be held up: the goals are 50 ms for
// the longest batch and 500 ms for the longest sort. The plain way, for comparison in the same run,
// makes all rows anew for each batch.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "core/configuration.h"
#include "results/audio_dups_controller.h"
#include "table_pairs.h"

namespace quill {
namespace {

using bench::MadePair;

constexpr size_t kBatch = 1000;
constexpr double kBatchGoalMs = 50, kSortGoalMs = 500;

// Processor time of this thread, so that what else the machine does stays out.
double NowMs() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

struct Times {
  double longest = 0, total = 0;
  void Take(double ms) {
    longest = std::max(longest, ms);
    total += ms;
  }
};

class CTableBench {
 public:
  bool Run() {
    for (bool flat : {false, true}) {
      CConfiguration::Instance().SetBool("enableFlatMode", flat);
      for (bool clustered : {true, false}) {
        const std::vector<MadePair> pairs = bench::Pairs(clustered);
        for (FieldId column : {FieldId::kFile, FieldId::kContent}) {
          Grow(pairs, column, clustered, flat);
        }
      }
    }
    std::printf("goals of %.0f ms a batch and %.0f ms a sort: %s\n", kBatchGoalMs, kSortGoalMs,
                m_met ? "met" : "MISSED");
    return m_met;
  }

 private:
  void Add(CAudioDupsController& model, const MadePair& pair) {
    model.LockedAdd({m_files[pair.first], m_files[pair.second], 1, 1, {0.5f, pair.content, -1}});
  }

  // No rows until RebuildRows.
  void Load(CAudioDupsController& model, const MadePair& pair) {
    for (uint32_t file : {pair.first, pair.second}) {
      const ItemBase& base = *m_files[file];
      AudioItemRecord item;
      item.path = base.path;
      item.artist = base.artist;
      item.album = base.album;
      item.title = base.title;
      item.size = base.size;
      item.durationMs = base.durationMs;
      model.BulkAdd(item);
    }
    model.BulkAdd(m_files[pair.first]->path, m_files[pair.second]->path, 0.5f, pair.content, -1);
  }

  void Grow(const std::vector<MadePair>& pairs, FieldId column, bool clustered, bool flat) {
    auto model = std::make_unique<CAudioDupsController>(m_store, m_ignores);
    auto plain = std::make_unique<CAudioDupsController>(m_store, m_ignores);
    model->SetSort(column, true);
    plain->SetSort(column, true);
    Times times, plainTimes;
    for (size_t start = 0; start < pairs.size(); start += kBatch) {
      for (size_t i = start; i < start + kBatch; ++i) Add(*model, pairs[i]);
      const double before = NowMs();
      if (!model->ProcessNewData()) std::abort();
      times.Take(NowMs() - before);
    }
    for (size_t start = 0; start < pairs.size(); start += kBatch) {
      const double before = NowMs();
      for (size_t i = start; i < start + kBatch; ++i) Load(*plain, pairs[i]);
      plain->RebuildRows();
      plainTimes.Take(NowMs() - before);
    }
    std::printf(
        "%-4s %-9s by %-7s: longest batch %6.1f ms, all %6.0f ms; plain %6.1f ms, %6.0f ms; "
        "ratio %.1f\n",
        flat ? "flat" : "tree", clustered ? "clustered" : "random", FieldIdentifier(column),
        times.longest, times.total, plainTimes.longest, plainTimes.total,
        plainTimes.total / times.total);
    m_met = m_met && times.longest < kBatchGoalMs;
    if (column == FieldId::kFile) Resort(*model);
  }

  void Resort(CAudioDupsController& model) {
    std::printf("  %zu rows, sorted by", model.RowCount());
    for (FieldId column : {FieldId::kFile, FieldId::kFilename, FieldId::kContent, FieldId::kTags,
                           FieldId::kTitle, FieldId::kSize, FieldId::kFormat}) {
      const double before = NowMs();
      model.SetSort(column, false);
      const double ms = NowMs() - before;
      std::printf(" %s %.0f", FieldIdentifier(column), ms);
      m_met = m_met && ms < kSortGoalMs;
    }
    std::printf(" ms\n");
  }

  CMemorySettingsStore m_settings;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_store{m_cache, m_counters};
  CIgnoreList m_ignores;
  const std::vector<CRef<const ItemBase>> m_files = bench::Files();
  bool m_met = true;

 public:
  CTableBench() { CConfiguration::Instance().SetStore(&m_settings); }
  ~CTableBench() { CConfiguration::Instance().SetStore(nullptr); }
};

}  // namespace
}  // namespace quill

int main() {
  return quill::CTableBench().Run() ? 0 : 1;
}
