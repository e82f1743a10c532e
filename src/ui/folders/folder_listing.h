// SPDX-License-Identifier: GPL-3.0-or-later
// What lies in a folder, read off the main thread: a disk may be slow to wake, and a folder of
// fifty thousand files takes its time. Results come back on the main thread.
#pragma once

#include <QObject>
#include <QThreadPool>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/sync.h"

namespace quill {

struct FolderEntry {
  std::string name;  // bytes of the file system
  bool isFolder = false;
  uint64_t size = 0;            // of a file, with details only
  int64_t modifiedSeconds = 0;  // since 1970, with details only
};

// In the order of names as people sort them, numbers by value.
using FolderEntries = std::vector<FolderEntry>;

enum class Listing {
  kPresence,  // nothing: only whether the folder can be read
  kFolders,   // subfolders only; needs no look at each file
  kDetails    // everything, with sizes and times
};

// Hidden entries are left out; a link is a file, as scans do not follow it. Nothing for a folder
// that cannot be read. Any thread.
[[nodiscard]] std::optional<FolderEntries> ListFolder(const std::string& path, Listing listing);

class CFolderLister : public QObject {
 public:
  // Null for a folder that cannot be read.
  using Done = std::function<void(const std::shared_ptr<const FolderEntries>& entries)>;

  CFolderLister();
  // Waits for the folders being read; nothing is called any more.
  ~CFolderLister() override;

  // Calls `done` later, from the event loop. Details overtake waiting listings of subfolders, since
  // the user has asked for them.
  void Request(std::string path, Listing listing, Done done);

 private:
  using Result = std::pair<Done, std::shared_ptr<const FolderEntries>>;
  void Deliver();

  CSync m_sync;
  std::deque<Result> m_results GUARDED_BY(m_sync);
  QThreadPool m_threads;
};

}  // namespace quill
