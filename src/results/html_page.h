// SPDX-License-Identifier: GPL-3.0-or-later
// The frame of an exported page, and text in it. One file with no script and nothing to load; light
// or dark as the reader's system is; one table, whose groups are bodies of their own. Numbers stand
// at the right. Pure functions over a writer.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "results/export_writer.h"

namespace quill {

// Escaped for content and for attributes in double quotes. Bytes that are no UTF-8, and characters
// that a page must not hold, show as U+FFFD.
[[nodiscard]] std::string HtmlText(std::string_view text);
// A path with its folder less prominent than the name.
[[nodiscard]] std::string HtmlPath(std::string_view path);

// "87.50", of 0.875; a dash for a score that was not computed.
[[nodiscard]] std::string PageScore(float score);

// Up to the head of the table. The first `texts` headings stand over texts, the others over
// numbers.
void BeginPage(CExportWriter& out, std::string_view title, std::span<const char* const> headings,
               size_t texts);
// A line over all columns that heads a body of rows, which ends with EndGroup.
void BeginGroup(CExportWriter& out, std::string_view heading, size_t columns);
void EndGroup(CExportWriter& out);
// A row: cells that are HTML already.
void PutRow(CExportWriter& out, std::span<const std::string> cells, size_t texts);
void EndPage(CExportWriter& out);
// "Group 3: 12 files"
[[nodiscard]] std::string GroupHeading(size_t number, size_t files);

// All matches of `groups` (a CMatchGroups), a body for each group. `scoresOf` gives the cells of a
// match behind its two files; `putFiles(group)` may put rows of its own in front of the matches and
// ends the page early by false.
template <class Groups, class ScoresOf, class PutFiles>
[[nodiscard]] bool PutGroups(CExportWriter& out, const Groups& groups, size_t columns,
                             ScoresOf scoresOf, PutFiles putFiles) {
  const auto& matches = groups.Matches();
  size_t number = 0;
  for (size_t i = 0; i < matches.size(); ++i) {
    const auto& match = matches[i];
    if (i == 0 || match.group != matches[i - 1].group) {
      const auto [begin, end] = groups.FilesOf(match.group);
      BeginGroup(out, GroupHeading(++number, static_cast<size_t>(end - begin)), columns);
      if (!putFiles(match.group)) return false;
    }
    std::vector<std::string> cells{HtmlPath(groups.File(match.first).path),
                                   HtmlPath(groups.File(match.second).path)};
    for (std::string& score : scoresOf(match.scores)) cells.push_back(std::move(score));
    PutRow(out, cells, 2);
    if (i + 1 == matches.size() || match.group != matches[i + 1].group) EndGroup(out);
  }
  return true;
}

}  // namespace quill
