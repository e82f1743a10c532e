// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/quality/audio_analysis_view.h"

#include <QTableView>

#include "app/app_delegate.h"
#include "results/export.h"
#include "results/file_operations.h"
#include "ui/quality/analysis_table_model.h"
#include "ui/widgets/path_text.h"

namespace quill {

TDXAudioAnalysisView::TDXAudioAnalysisView(TDXAppDelegate& delegate, CFileOperations& files,
                                           QWidget* parent)
    : CTableTab(delegate, files, parent), m_controller(delegate.AudioAnalysis()) {
  SetTable(new CAudioAnalysisModel(m_controller),
           std::make_unique<CTableActionsOf<CAudioAnalysisController>>(m_controller));
  ResultsTable()->setAccessibleName(tr("Audio quality"));

  AddFileActions(tr("&Play"), tr("Hear the file"));
  AddSpectrumActions();
  AddSeparator();
  AddMarkActions();
  AddSeparator();
  AddRemovalActions();
  EndMenu();
}

QList<QPair<QString, QString>> TDXAudioAnalysisView::ExportFormats() const {
  return TableFormats();
}

QString TDXAudioAnalysisView::ExportFile(const std::string& path) {
  std::string failure;
  (void)Export(m_controller, path, ExportKindOf(path).value_or(ExportKind::kCsv), &failure);
  return ShownPath(failure);
}

auto TDXAudioAnalysisView::Empty() const -> EmptyTexts {
  // Each file that is rated has a row, so that a scan has found something or met no file.
  const QString noFiles = tr("There are no sounds to rate in the chosen folders.");
  return {
      .mode = ScanMode::kAnalysis,
      .before = tr("No file has been rated yet. Files of the folders, or of the audio duplicates, "
                   "can be analysed one by one."),
      .other = tr("The scan that is running looks for duplicates. Rate files when it has ended."),
      .busy = tr("Measuring. Files appear here as they are done."),
      .stopped = tr("The scan was stopped and had rated no file. Press Scan to begin anew."),
      .noFiles = noFiles,
      .oneFile = noFiles,
      .nothing = noFiles,
      .left = tr("Nothing is left of the rated files. Press Scan to rate them again."),
      .opened = tr("There are no rated files in the results file.")};
}

}  // namespace quill
