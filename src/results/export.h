// Writes the results of a table to a text file that other programs read. Lines end in CR LF, paths
// go out as their bytes, nothing is escaped: that is the format. Memory stays flat: what is
// gathered is written whenever it exceeds 64 KiB. Main thread.
//
// Duplicates go out one line a match, in the order of the model's pairs; analysis in the order of
// the table. True when all of the file has been written; false after a report ("Export"), and then
// what has been written so far stays. `failure` (may be null) is told why, for the user, in one
// sentence.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "results/audio_analysis_controller.h"
#include "results/audio_dups_controller.h"
#include "results/image_dups_controller.h"

namespace quill {

enum class ExportKind { kCsv = 0, kHtml = 1, kM3u = 2 };

// The kind by the target's extension, compared exactly as it stands; anything else is CSV. M3U is
// for audio duplicates only.
[[nodiscard]] ExportKind AudioDupsExportKind(std::string_view path);
[[nodiscard]] ExportKind ImageDupsExportKind(std::string_view path);
[[nodiscard]] ExportKind AnalysisExportKind(std::string_view path);

// Headings of the HTML form, as the tables hand them over. The image table hands over three where
// the writer wants four, so an HTML export of images fails and leaves an empty file.
[[nodiscard]] std::span<const char* const> AudioDupsHeadings();
[[nodiscard]] std::span<const char* const> ImageDupsHeadings();
[[nodiscard]] std::span<const char* const> AnalysisHeadings();

bool Export(const CAudioDupsController& table, const std::string& path, ExportKind kind,
            std::span<const char* const> headings, std::string* failure = nullptr);
bool Export(const CImageDupsController& table, const std::string& path, ExportKind kind,
            std::span<const char* const> headings, std::string* failure = nullptr);
bool Export(const CAudioAnalysisController& table, const std::string& path, ExportKind kind,
            std::span<const char* const> headings, std::string* failure = nullptr);

}  // namespace quill
