// SPDX-License-Identifier: GPL-3.0-or-later
// Writes the results of a table to a text file that other programs read, or to a page for people.
// Memory stays flat: what is gathered is written whenever it exceeds 64 KiB. A file that could not
// be written whole leaves what was there before (export_writer.h).
//
// CSV: fields between semicolons, lines end in CR LF, a line of headings first. Texts stand in
// quotes, with a quote inside doubled; paths go out as their bytes. Duplicates are one line a
// match, in the order of the model's pairs; analysis in the order of the table. M3U: paths as they
// are. HTML: html_page.h; duplicates in groups (match_groups.h).
//
// True when all of the file has been written; false after a report ("Export"). `failure` (may be
// null) is told why, for the user, in one sentence. Main thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "results/audio_analysis_controller.h"
#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"

namespace quill {

enum class ExportKind { kCsv = 0, kHtml = 1, kM3u = 2 };

// By the ending of the name, in capitals or not; nothing for any other. Which table has which form:
// all have CSV and HTML, sounds alone have M3U.
[[nodiscard]] std::optional<ExportKind> ExportKindOf(std::string_view path);

bool Export(const CAudioDupsController& table, const std::string& path, ExportKind kind,
            std::string* failure = nullptr);
// CSV only: the page needs a source of small pictures, and takes time (picture_page.h).
bool Export(const CImageDupsController& table, const std::string& path, ExportKind kind,
            std::string* failure = nullptr);
bool Export(const CAudioAnalysisController& table, const std::string& path, ExportKind kind,
            std::string* failure = nullptr);

}  // namespace quill
