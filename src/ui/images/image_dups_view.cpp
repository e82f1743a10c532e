// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/images/image_dups_view.h"

#include <QItemSelectionModel>
#include <QLayout>
#include <QSplitter>

#include "app/app_delegate.h"
#include "core/configuration.h"
#include "results/automark.h"
#include "results/export.h"
#include "results/file_operations.h"
#include "ui/images/image_dups_model.h"
#include "ui/images/image_preview_view.h"
#include "ui/images/picture_export.h"
#include "ui/marking/automark_window.h"
#include "ui/table/table_view.h"
#include "ui/widgets/path_text.h"

namespace quill {

namespace {

constexpr const char* kWidthKey = "windowPreviewWidth";

}  // namespace

TDXImageDupsView::TDXImageDupsView(TDXAppDelegate& delegate, CFileOperations& files,
                                   QWidget* parent)
    : CTableTab(delegate, files, parent), m_controller(delegate.ImageDups()) {
  SetTable(new CImageDupsModel(m_controller),
           std::make_unique<CTableActionsOf<CImageDupsController>>(m_controller));
  ResultsTable()->setAccessibleName(tr("Image duplicates"));

  AddFileActions(tr("&Open"), tr("Open the file with the desktop's program for it"));
  AddSeparator();
  AddMarkActions();
  AddAction("automark", tr("&Automark…"), tr("Mark the worse file of each pair, by rules"),
            Qt::CTRL | Qt::Key_M, Needs::kRows, [this] { ActionAutomark(); });
  AddSeparator();
  AddRemovalActions();
  EndMenu();
  MakePreview();
}

void TDXImageDupsView::MakePreview() {
  m_preview = new TDXImagePreviewView(m_controller, Delegate().Queue());
  auto* splitter = new QSplitter;
  splitter->setChildrenCollapsible(false);
  auto* table = static_cast<TDXTableView*>(ResultsTable());
  delete layout()->replaceWidget(table, splitter);
  splitter->addWidget(table);
  splitter->addWidget(m_preview);
  splitter->setStretchFactor(0, 1);
  const int width = CConfiguration::Instance().GetInteger(kWidthKey, m_preview->sizeHint().width());
  splitter->setSizes({10000, width});
  connect(splitter, &QSplitter::splitterMoved, this,
          [this] { CConfiguration::Instance().SetInteger(kWidthKey, m_preview->width()); });
  connect(table, &TDXTableView::SelectedCountChanged, this, [this] { ShowSelected(); });
  connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          [this] { ShowSelected(); });
}

void TDXImageDupsView::ShowSelected() {
  m_preview->SetIndex(static_cast<TDXTableView*>(ResultsTable())->LeadingRow());
}

void TDXImageDupsView::ReloadView() {
  CTableTab::ReloadView();
  ShowSelected();
  m_preview->RowsChanged();
}

void TDXImageDupsView::ActionAutomark() {
  CImageAutomark automark(m_controller);
  if (RunAutomarkWindow(this, automark)) Changed();
}

QList<QPair<QString, QString>> TDXImageDupsView::ExportFormats() const {
  return TableFormats();
}

QString TDXImageDupsView::ExportFile(const std::string& path) {
  std::string failure;
  const ExportKind kind = ExportKindOf(path).value_or(ExportKind::kCsv);
  if (kind == ExportKind::kHtml) return ExportPicturePage(window(), m_controller, path);
  (void)Export(m_controller, path, kind, &failure);
  return ShownPath(failure);
}

auto TDXImageDupsView::Empty() const -> EmptyTexts {
  return {
      .mode = ScanMode::kDuplicates,
      .before = tr("No search for image duplicates yet."),
      .other = tr("The scan that is running rates files. Look for duplicates when it has ended."),
      .busy = tr("Looking for pictures that are alike. Pairs appear here as they are found."),
      .stopped = tr("The scan was stopped and had found no image duplicates. Press Scan to begin "
                    "anew."),
      .noFiles = tr("There are no pictures in the chosen folders."),
      .oneFile = tr("There is one picture in the chosen folders, and nothing to compare it with."),
      .nothing = tr("No duplicates among %L1 pictures."),
      .left = tr("Nothing is left of the image duplicates. Press Scan to look again."),
      .opened = tr("There are no image duplicates in the results file.")};
}

}  // namespace quill
