// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <filesystem>

#include "app/data_files.h"
#include "audio/analysis_store.h"
#include "audio/audio_store.h"
#include "cli/commands.h"
#include "cli/safe_text.h"
#include "cli/session.h"
#include "image/image_store.h"
#include "storage/cache_store.h"
#include "storage/ignore_list.h"

namespace quill::cli {

int RunCache(const Arguments& arguments) {
  CSession session;
  if (!session.Open(arguments)) return kExitFailed;
  CCacheStore cache;
  CScanCounters counters;
  CAudioStore audio(cache, counters);
  CImageStore images(cache, counters);
  CAnalysisStore analyses(cache);
  cache.SetClient(CacheRecordType::kAudio, &audio);
  cache.SetClient(CacheRecordType::kImage, &images);
  cache.SetClient(CacheRecordType::kAnalysis, &analyses);
  const std::string path = CSession::DataFile(kCacheFile);
  if (!cache.Load(path)) {
    Complain("cannot open " + TerminalText(path));
    return kExitFailed;
  }
  if (arguments.words[0] == "clear") {
    cache.Clear();
    return kExitDone;
  }
  char text[64];
  std::snprintf(text, sizeof text, "%u item(s) (%.2f MB)\n", cache.Count(),
                static_cast<double>(cache.FileSize()) / 1000000.0);
  return Print(text) ? kExitDone : kExitFailed;
}

int RunIgnore(const Arguments& arguments) {
  CSession session;
  if (!session.Open(arguments)) return kExitFailed;
  const std::string path = CSession::DataFile(kIgnoresFile);
  CIgnoreList ignores;
  std::error_code fault;
  // A missing file is an empty list; one that cannot be read must not be written over.
  if (!ignores.LoadIgnores(path) && std::filesystem::exists(path, fault)) {
    Complain("cannot read " + TerminalText(path));
    return kExitFailed;
  }
  const std::string& verb = arguments.words[0];
  if (verb == "list") {
    std::string text;
    ignores.ForEach([&](const std::string& first, const std::string& second) {
      text +=
          TerminalText(first) + (second.empty() ? "" : "\n  with " + TerminalText(second)) + "\n";
    });
    return Print(text) ? kExitDone : kExitFailed;
  }
  if (verb == "clear") {
    ignores.Clear(path);
    return kExitDone;
  }
  for (size_t i = 1; i < arguments.words.size(); ++i) {
    if (arguments.words[i].find('"') == std::string::npos) continue;
    Complain(TerminalText(arguments.words[i]) +
             ": a name with a double quote cannot be kept in the ignore list");
    return kExitFailed;
  }
  if (arguments.words.size() == 2)
    ignores.AddIgnore(arguments.words[1]);
  else
    ignores.AddIgnore(arguments.words[1], arguments.words[2]);
  if (ignores.SaveIgnores(path)) return kExitDone;
  Complain("cannot write " + TerminalText(path));
  return kExitFailed;
}

}  // namespace quill::cli
