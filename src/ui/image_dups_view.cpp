#include "ui/image_dups_view.h"

#include <QTableView>

#include "app/app_delegate.h"
#include "results/automark.h"
#include "results/export.h"
#include "results/file_operations.h"
#include "ui/automark_window.h"
#include "ui/dups_table_model.h"
#include "ui/path_text.h"

namespace quill {

TDXImageDupsView::TDXImageDupsView(TDXAppDelegate& delegate, CFileOperations& files,
                                   QWidget* parent)
    : CTableTab(delegate, files, parent), m_controller(delegate.ImageDups()) {
  SetTable(new CImageDupsModel(m_controller),
           std::make_unique<CTableActionsOf<CImageDupsController>>(m_controller));
  ResultsTable()->setAccessibleName(tr("Image duplicates"));

  AddFileActions();
  AddSeparator();
  AddMarkActions();
  AddAction("automark", tr("&Automark…"), tr("Mark the worse file of each pair, by rules"),
            Qt::CTRL | Qt::Key_M, Needs::kRows, [this] { ActionAutomark(); });
  AddSeparator();
  AddRemovalActions();
  EndMenu();
}

void TDXImageDupsView::ActionAutomark() {
  CImageAutomark automark(m_controller);
  std::vector<bool> allowed;
  if (!RunAutomarkWindow(this, automark, &allowed)) return;
  automark.Mark(allowed);
  Changed();
}

// The web page of this table cannot be written (see ImageDupsHeadings), so it is not on offer.
QList<QPair<QString, QString>> TDXImageDupsView::ExportFormats() const {
  return {{"csv", tr("Table for spreadsheets")}};
}

QString TDXImageDupsView::ExportFile(const std::string& path) {
  std::string failure;
  (void)Export(m_controller, path, ImageDupsExportKind(path), ImageDupsHeadings(), &failure);
  return ShownPath(failure);
}

QString TDXImageDupsView::EmptyText() const {
  return tr("No image duplicates yet. Add folders in the first tab and press Scan.");
}

QString TDXImageDupsView::BusyText() const {
  return tr("Looking for pictures that are alike. Pairs appear here as they are found.");
}

}  // namespace quill
