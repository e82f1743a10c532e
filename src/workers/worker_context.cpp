// SPDX-License-Identifier: GPL-3.0-or-later
#include "workers/worker_context.h"

#include <dirent.h>
#include <sys/stat.h>

#include <string_view>
#include <utility>

namespace quill {
namespace {

// DT_REG, DT_DIR, or something else, which is skipped.
unsigned char EntryType(const dirent& entry, const std::string& path) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type;
  struct stat status{};
  if (stat(path.c_str(), &status) != 0) return DT_UNKNOWN;
  return static_cast<unsigned char>(IFTODT(status.st_mode));
}

}  // namespace

CWorkerContext::CWorkerContext(CWorkers& pool, std::unique_ptr<CFileEngines> engines)
    : m_pool(pool), m_engines(std::move(engines)) {}

bool CWorkerContext::EnumerateFolder(const std::string& path, uint8_t group, uint8_t carriedFlag,
                                     bool analysis) {
  using Request = CWorkers::Request;
  DIR* const folder = opendir(path.c_str());
  if (folder == nullptr) return false;
  const std::string base = path.ends_with('/') ? path : path + '/';
  while (const dirent* const entry = readdir(folder)) {
    const std::string_view name = entry->d_name;
    std::string joined = base + entry->d_name;
    const unsigned char type = EntryType(*entry, joined);
    if (type == DT_REG) {
      if (analysis)
        m_pool.Requeue(Request::kAnalysisFile, std::move(joined), 0, 0);
      else
        m_pool.Requeue(Request::kFile, std::move(joined), group, 0);
    } else if (type == DT_DIR && name != "." && name != "..") {
      if (analysis)
        m_pool.Requeue(Request::kAnalysisFolder, std::move(joined), carriedFlag, 0);
      else
        m_pool.Requeue(Request::kFolder, std::move(joined), group, carriedFlag);
    }
  }
  closedir(folder);
  return true;
}

bool CWorkerContext::ProcessFile(const std::string& path, uint8_t group, bool analysis) {
  return m_engines != nullptr && m_engines->ProcessFile(path, group, analysis);
}

}  // namespace quill
