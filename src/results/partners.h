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

// A second table over the same files, which follows what this one does to them.
class CPartnerTable {
 public:
  virtual ~CPartnerTable() = default;
  virtual void RemovePaths(const std::vector<std::string>& paths) = 0;
  virtual void ChangePath(std::string_view oldPath, std::string_view newPath,
                          std::string_view artist, std::string_view album,
                          std::string_view title) = 0;
  virtual void Clear() = 0;
};

}  // namespace quill
