#include "cli/export_files.h"

#include "cli/safe_text.h"
#include "cli/session.h"
#include "results/export.h"

namespace quill::cli {

namespace {

bool Told(bool written, const std::string& failure) {
  if (!written) Complain(TerminalText(failure));
  return written;
}

bool ExportImages(const CImageDupsController& table, const std::string& path) {
  if (ImageDupsExportKind(path) == ExportKind::kHtml) {
    Complain("pairs of pictures can only be exported to .csv; " + TerminalText(path) +
             " was not written");
    return false;
  }
  std::string failure;
  return Told(Export(table, path, ImageDupsExportKind(path), ImageDupsHeadings(), &failure),
              failure);
}

}  // namespace

bool ExportResults(const Arguments& arguments, TDXAppDelegate& delegate) {
  const std::string& path = arguments.exportFile;
  std::string failure;
  if (arguments.analyse) {
    return Told(Export(delegate.AudioAnalysis(), path, AnalysisExportKind(path), AnalysisHeadings(),
                       &failure),
                failure);
  }
  const size_t point = path.rfind('.');
  const bool list = AudioDupsExportKind(path) == ExportKind::kM3u;
  const bool images = delegate.ImageDups().PairCount() != 0 && !list;
  const bool sounds = delegate.AudioDups().PairCount() != 0 || !images;
  bool written = true;
  if (sounds) {
    written = Told(Export(delegate.AudioDups(), path, AudioDupsExportKind(path),
                          AudioDupsHeadings(), &failure),
                   failure);
  }
  if (images) {
    const std::string target =
        sounds ? path.substr(0, point) + "-images" + path.substr(point) : path;
    written = ExportImages(delegate.ImageDups(), target) && written;
  }
  return written;
}

}  // namespace quill::cli
