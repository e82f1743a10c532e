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

QString TDXAudioAnalysisView::EmptyText() const {
  return tr(
      "No file has been analysed yet. Choose the mode Analyse and press Scan, or analyse "
      "files of the folders or of the audio duplicates.");
}

QString TDXAudioAnalysisView::BusyText() const {
  return tr("Measuring. Files appear here as they are done.");
}

}  // namespace quill
