// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/audio/audio_dups_view.h"

#include <QAction>

#include "app/app_delegate.h"
#include "results/automark.h"
#include "results/export.h"
#include "results/file_operations.h"
#include "ui/audio/audio_dups_model.h"
#include "ui/marking/automark_window.h"
#include "ui/table/table_view.h"
#include "ui/tags/tag_edit_window.h"
#include "ui/widgets/path_text.h"

namespace quill {

TDXAudioDupsView::TDXAudioDupsView(TDXAppDelegate& delegate, CFileOperations& files,
                                   QWidget* parent)
    : CTableTab(delegate, files, parent), m_controller(delegate.AudioDups()) {
  SetTable(new CAudioDupsModel(m_controller, delegate.AudioAnalysis()),
           std::make_unique<CTableActionsOf<CAudioDupsController>>(m_controller));
  ResultsTable()->setAccessibleName(tr("Audio duplicates"));

  AddFileActions(tr("&Play"), tr("Hear the file"));
  AddSpectrumActions();
  m_edit = AddAction("document-edit", tr("Edit &Tags…"),
                     tr("Change tags and name of the file beside those of its duplicates"),
                     Qt::CTRL | Qt::Key_T, Needs::kOwnTest, [this] { ActionEdit(); });
  AddSeparator();
  AddMarkActions();
  AddAction("automark", tr("&Automark…"), tr("Mark the worse file of each pair, by rules"),
            Qt::CTRL | Qt::Key_M, Needs::kRows, [this] { ActionAutomark(); });
  AddSeparator();
  AddAction("analyse", tr("Anal&yse"), tr("Measure the quality of the selected files"),
            Qt::CTRL | Qt::Key_Y, Needs::kSelection, [this] {
              m_controller.AnalyseRows(SelectedRows());
              Changed();
            });
  AddAction("analyse", tr("Analyse Mar&ked"), tr("Measure the quality of the marked files"), {},
            Needs::kMarked, [this] {
              m_controller.AnalyseMarked();
              Changed();
            });
  AddAction("analyse", tr("Analyse All"),
            tr("Empty the quality table and measure all files of this one"), {}, Needs::kRows,
            [this] {
              m_controller.AnalyseAll();
              Changed();
            });
  AddSeparator();
  m_swap = AddAction("swap", tr("S&wap Two Files"),
                     tr("Exchange the names of two selected files of one group"), {},
                     Needs::kOwnTest, [this] { ActionSwap(); });
  AddSeparator();
  AddRemovalActions();
  EndMenu();
}

bool TDXAudioDupsView::IsEnabled(const QAction* action) const {
  const auto* table = static_cast<const TDXTableView*>(ResultsTable());
  if (action == m_edit) return table->SelectedCount() == 1;
  if (action != m_swap) return true;
  return table->SelectedCount() == 2 && m_controller.CanSwap(SelectedRows());
}

void TDXAudioDupsView::ActionAutomark() {
  CAudioAutomark automark(m_controller, &Delegate().AudioAnalysis());
  if (RunAutomarkWindow(this, automark)) Changed();
}

void TDXAudioDupsView::ActionEdit() {
  const auto* row = m_controller.TableAt(SelectedRows().front());
  if (!row) return;
  TDXTagEditWindow window(
      row->File()->base->path, Delegate(), Files(), [this] { Changed(); }, this);
  window.exec();
  if (!window.Failure().isEmpty()) emit SummaryChanged(window.Failure());
}

void TDXAudioDupsView::ActionSwap() {
  const bool swapped = m_controller.Swap(
      SelectedRows(),
      [this](const std::string& a, const std::string& b) { return Files().SwapCallback(a, b); });
  if (swapped) Changed();
}

QList<QPair<QString, QString>> TDXAudioDupsView::ExportFormats() const {
  return TableFormats() << QPair<QString, QString>{"m3u", "M3U format"};
}

QString TDXAudioDupsView::ExportFile(const std::string& path) {
  std::string failure;
  (void)Export(m_controller, path, ExportKindOf(path).value_or(ExportKind::kCsv), &failure);
  return ShownPath(failure);
}

auto TDXAudioDupsView::Empty() const -> EmptyTexts {
  return {
      .mode = ScanMode::kDuplicates,
      .before = tr("No search for audio duplicates yet."),
      .other = tr("The scan that is running rates files. Look for duplicates when it has ended."),
      .busy = tr("Looking for files that sound alike. Pairs appear here as they are found."),
      .stopped = tr("The scan was stopped and had found no audio duplicates. Press Scan to begin "
                    "anew."),
      .noFiles = tr("There are no sounds in the chosen folders."),
      .oneFile = tr("There is one sound in the chosen folders, and nothing to compare it with."),
      .nothing = tr("No duplicates among %L1 sounds."),
      .left = tr("Nothing is left of the audio duplicates. Press Scan to look again."),
      .opened = tr("There are no audio duplicates in the results file.")};
}

}  // namespace quill
