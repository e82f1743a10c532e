// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/export_files.h"

#include "cli/safe_text.h"
#include "cli/session.h"
#include "platform/decoded_thumbnails.h"
#include "results/export.h"

namespace quill::cli {

namespace {

bool Told(bool written, const std::string& failure) {
  if (!written && !failure.empty()) Complain(TerminalText(failure));
  return written;
}

bool ExportImages(const CImageDupsController& table, const std::string& path, ExportKind kind,
                  const CPicturePage::GoOn& goOn) {
  std::string failure;
  if (kind != ExportKind::kHtml) return Told(Export(table, path, kind, &failure), failure);
  CDecodedThumbnails thumbnails(CDecoderTable::Instance());
  return Told(CPicturePage(table).Write(path, thumbnails, goOn, &failure), failure);
}

}  // namespace

bool ExportResults(const Arguments& arguments, TDXAppDelegate& delegate,
                   const CPicturePage::GoOn& goOn) {
  const std::string& path = arguments.exportFile;
  const ExportKind kind = ExportKindOf(path).value_or(ExportKind::kCsv);
  std::string failure;
  if (arguments.analyse)
    return Told(Export(delegate.AudioAnalysis(), path, kind, &failure), failure);
  const size_t point = path.rfind('.');
  const bool images = delegate.ImageDups().PairCount() != 0 && kind != ExportKind::kM3u;
  const bool sounds = delegate.AudioDups().PairCount() != 0 || !images;
  bool written = true;
  if (sounds) written = Told(Export(delegate.AudioDups(), path, kind, &failure), failure);
  if (images) {
    const std::string target =
        sounds ? path.substr(0, point) + "-images" + path.substr(point) : path;
    written = ExportImages(delegate.ImageDups(), target, kind, goOn) && written;
  }
  return written;
}

}  // namespace quill::cli
