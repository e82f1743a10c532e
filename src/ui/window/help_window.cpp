// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/help_window.h"

#include <QPushButton>
#include <QTextBrowser>
#include <QTextTable>
#include <QVBoxLayout>

#include "ui/widgets/icons.h"

namespace quill {

namespace {

constexpr const char* kFirstPage = "qrc:/help/index.md";
constexpr double kCellPadding = 4;

// Thin lines and room in the cells, which Markdown cannot ask for.
void StyleTables(const QTextBrowser& browser) {
  for (QTextFrame* frame : browser.document()->rootFrame()->childFrames()) {
    auto* const table = qobject_cast<QTextTable*>(frame);
    if (!table) continue;
    QTextTableFormat format = table->format();
    format.setBorderCollapse(true);
    format.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
    format.setBorderBrush(browser.palette().mid());
    format.setCellPadding(kCellPadding);
    format.setCellSpacing(0);
    format.setTopMargin(kCellPadding);
    format.setBottomMargin(2 * kCellPadding);
    table->setFormat(format);
  }
}

}  // namespace

CHelpWindow::CHelpWindow(QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("Quillmarsh Help"));
  resize(760, 640);
  auto* browser = new QTextBrowser;
  browser->setOpenExternalLinks(true);
  browser->document()->setDocumentMargin(16);
  auto* line = new QHBoxLayout;
  auto* contents = new QPushButton(Icon("help-contents"), tr("&Contents"));
  auto* back = new QPushButton(Icon("go-previous"), tr("&Back"));
  back->setEnabled(false);
  for (QPushButton* button : {contents, back}) {
    button->setAutoDefault(false);
    line->addWidget(button);
  }
  line->addStretch();
  connect(contents, &QPushButton::clicked, browser,
          [browser] { browser->setSource(QUrl(kFirstPage), QTextDocument::MarkdownResource); });
  connect(back, &QPushButton::clicked, browser, &QTextBrowser::backward);
  connect(browser, &QTextBrowser::sourceChanged, browser, [browser] { StyleTables(*browser); });
  connect(browser, &QTextBrowser::backwardAvailable, back, &QPushButton::setEnabled);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(line);
  layout->addWidget(browser, 1);
  browser->setSource(QUrl(kFirstPage), QTextDocument::MarkdownResource);
}

}  // namespace quill
