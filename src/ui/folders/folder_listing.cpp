// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/folders/folder_listing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <QCollator>
#include <QElapsedTimer>
#include <QLocale>
#include <QMetaObject>
#include <algorithm>
#include <numeric>

#include "ui/widgets/path_text.h"

namespace quill {
namespace {

// A folder on a disk that does not answer must not keep the others waiting.
constexpr int kThreads = 3;
// Results are handed over for so long before the window gets its turn.
constexpr qint64 kDeliverMs = 20;

void SortByName(FolderEntries* entries) {
  // The C locale sorts by bytes, and knows no numbers.
  const bool plain = QLocale().language() == QLocale::C;
  QCollator collator(plain ? QLocale(QLocale::English) : QLocale());
  collator.setNumericMode(true);
  collator.setCaseSensitivity(Qt::CaseInsensitive);
  std::vector<QCollatorSortKey> keys;
  keys.reserve(entries->size());
  for (const FolderEntry& entry : *entries) keys.push_back(collator.sortKey(ShownPath(entry.name)));
  std::vector<size_t> order(entries->size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    const int compared = keys[a].compare(keys[b]);
    return compared != 0 ? compared < 0 : (*entries)[a].name < (*entries)[b].name;
  });
  FolderEntries sorted;
  sorted.reserve(entries->size());
  for (const size_t at : order) sorted.push_back(std::move((*entries)[at]));
  *entries = std::move(sorted);
}

}  // namespace

std::optional<FolderEntries> ListFolder(const std::string& path, Listing listing) {
  FolderEntries entries;
  DIR* const folder = opendir(path.c_str());
  if (folder == nullptr) return std::nullopt;
  while (const dirent* const read = listing == Listing::kPresence ? nullptr : readdir(folder)) {
    if (read->d_name[0] == '.') continue;
    FolderEntry entry{.name = read->d_name, .isFolder = read->d_type == DT_DIR};
    if (listing == Listing::kDetails || read->d_type == DT_UNKNOWN) {
      struct stat status{};
      if (fstatat(dirfd(folder), read->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
      entry.isFolder = S_ISDIR(status.st_mode);
      entry.size = static_cast<uint64_t>(status.st_size);
      entry.modifiedSeconds = status.st_mtim.tv_sec;
    }
    if (entry.isFolder || listing == Listing::kDetails) entries.push_back(std::move(entry));
  }
  closedir(folder);
  SortByName(&entries);
  return entries;
}

CFolderLister::CFolderLister() {
  m_threads.setMaxThreadCount(kThreads);
}

CFolderLister::~CFolderLister() {
  m_threads.clear();
  m_threads.waitForDone();
}

void CFolderLister::Request(std::string path, Listing listing, Done done) {
  const auto work = [this, path = std::move(path), listing, done = std::move(done)] {
    std::shared_ptr<const FolderEntries> entries;
    if (std::optional<FolderEntries> listed = ListFolder(path, listing))
      entries = std::make_shared<const FolderEntries>(std::move(*listed));
    const CSyncLock lock(m_sync);
    m_results.emplace_back(done, std::move(entries));
    if (m_results.size() == 1)
      QMetaObject::invokeMethod(this, [this] { Deliver(); }, Qt::QueuedConnection);
  };
  m_threads.start(work, listing == Listing::kDetails ? 1 : 0);
}

void CFolderLister::Deliver() {
  QElapsedTimer timer;
  timer.start();
  while (true) {
    Result result;
    {
      const CSyncLock lock(m_sync);
      // An empty list is what makes the next result call here, so the last one leaves at the end.
      result = std::move(m_results.front());
    }
    result.first(result.second);
    const CSyncLock lock(m_sync);
    m_results.pop_front();
    if (m_results.empty()) return;
    if (timer.elapsed() < kDeliverMs) continue;
    QMetaObject::invokeMethod(this, [this] { Deliver(); }, Qt::QueuedConnection);
    return;
  }
}

}  // namespace quill
