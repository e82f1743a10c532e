#include "audio/audio_store.h"
#include "cli/commands.h"
#include "cli/pair_report.h"
#include "cli/safe_text.h"
#include "cli/session.h"
#include "image/image_store.h"
#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"
#include "storage/cache_store.h"
#include "storage/ignore_list.h"
#include "storage/results_journal.h"

namespace quill::cli {

// Needs nothing of the data folder, and leaves it alone.
int RunShow(const Arguments& arguments) {
  CCacheStore cache;
  CScanCounters counters;
  CAudioStore audioStore(cache, counters);
  CIgnoreList ignores;
  CAudioDupsController audio(audioStore, ignores);
  CImageStore imageStore(cache, counters);
  CImageDupsController images(imageStore, ignores);
  CResultsJournal journal(&audio, &images, nullptr);
  const std::string& path = arguments.words[0];
  if (!journal.OpenForReading(path) || !journal.Load()) {
    Complain(TerminalText(path) + " cannot be read, or is no results file");
    return kExitFailed;
  }
  const PairLists pairs = ListPairs(audio, images);
  return Print(arguments.json ? PairJson(pairs, 0, 0) : PairTable(pairs)) ? kExitDone : kExitFailed;
}

}  // namespace quill::cli
