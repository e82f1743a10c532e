// SPDX-License-Identifier: GPL-3.0-or-later
// What the results tables ask of the rest of the program: small interfaces that higher layers, or
// the other table of the same window, implement. All calls come on the main thread.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quill {

// Takes wishes for the analysis of single files; the pool of threads stands behind it.
class CAnalysisRequests {
 public:
  virtual ~CAnalysisRequests() = default;
  virtual void RequestAnalysis(std::string path) = 0;
};

// Acts on files of a table; true if the table is to forget them. When the user stops it half-way it
// shortens the list to the files that it dealt with. It may let the main queue run meanwhile.
using FilesCallback = std::function<bool(std::vector<std::string>* paths)>;

// A second table over the same files, which forgets those that are gone.
class CRemovalFollower {
 public:
  virtual ~CRemovalFollower() = default;
  // Unknown paths are passed over. It does not tell the table that calls.
  virtual void RemovePaths(const std::vector<std::string>& paths) = 0;
};

// One that follows everything that this one does to files.
class CPartnerTable : public CRemovalFollower {
 public:
  virtual void ChangePath(std::string_view oldPath, std::string_view newPath,
                          std::string_view artist, std::string_view album,
                          std::string_view title) = 0;
  // The two files have exchanged their places; either may be unknown.
  virtual void SwapPaths(std::string_view first, std::string_view second) = 0;
  virtual void Clear() = 0;
};

}  // namespace quill
