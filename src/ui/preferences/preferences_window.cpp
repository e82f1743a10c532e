// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/preferences_window.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>

#include "app/app_delegate.h"
#include "ui/preferences/decoders_page.h"
#include "ui/preferences/device_page.h"
#include "ui/preferences/general_page.h"
#include "ui/preferences/miscellaneous_page.h"
#include "ui/widgets/icons.h"

namespace quill {

TDXPreferencesWindow::TDXPreferencesWindow(TDXAppDelegate& delegate, QWidget* parent)
    : QWidget(parent, Qt::Dialog),
      m_decoders(new CDecodersPage),
      m_titles(new QListWidget),
      m_tabView(new QStackedWidget) {
  m_titles->setAccessibleName(tr("Pages"));
  m_titles->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Expanding);
  m_titles->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  AddPage(tr("General"), "configure", new CGeneralPage);
  AddPage(tr("Decoders"), "preferences-decoders", m_decoders);
  AddPage(tr("Miscellaneous"), "preferences-miscellaneous", new CMiscellaneousPage(delegate));
  if (COpenCL* const device = delegate.GetOpenCL())
    AddPage(tr("OpenCL"), "preferences-device", new CDevicePage(*device, delegate.Queue()));
  m_titles->setFixedWidth(m_titles->sizeHintForColumn(0) + 2 * m_titles->frameWidth() +
                          2 * fontMetrics().averageCharWidth());

  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  auto* const reset = buttons->addButton(tr("&Restore Defaults"), QDialogButtonBox::ResetRole);
  reset->setToolTip(tr("Set everything on this page as it was at first"));
  connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);
  connect(reset, &QPushButton::clicked, this,
          [this] { m_pages[static_cast<size_t>(m_titles->currentRow())]->ResetDefaults(); });
  for (const QKeySequence& key : {QKeySequence(Qt::Key_Escape), QKeySequence(QKeySequence::Close)})
    connect(new QShortcut(key, this), &QShortcut::activated, this, &QWidget::close);

  auto* const pages = new QHBoxLayout;
  pages->addWidget(m_titles);
  pages->addWidget(m_tabView, 1);
  auto* const layout = new QVBoxLayout(this);
  layout->addLayout(pages);
  layout->addWidget(buttons);
  connect(m_titles, &QListWidget::currentRowChanged, this, &TDXPreferencesWindow::SwitchView);
  m_titles->setCurrentRow(0);
  m_titles->setFocus();
  FitPages();
}

void TDXPreferencesWindow::closeEvent(QCloseEvent* event) {
  m_decoders->Store();
  emit Closed();
  event->accept();
}

void TDXPreferencesWindow::AddPage(const QString& title, const char* icon, CPreferencesPage* page) {
  m_titles->addItem(new QListWidgetItem(Icon(icon), title));
  auto* const area = new QScrollArea;
  area->setWidget(page);
  area->setWidgetResizable(true);
  area->setFrameShape(QFrame::NoFrame);
  area->setFocusPolicy(Qt::NoFocus);
  m_tabView->addWidget(area);
  m_pages.push_back(page);
}

void TDXPreferencesWindow::FitPages() {
  int width = 0;
  for (const CPreferencesPage* const page : m_pages)
    width = std::max(width, page->sizeHint().width());
  int height = 0;
  for (const CPreferencesPage* const page : m_pages)
    height = std::max({height, page->sizeHint().height(), page->heightForWidth(width)});
  resize(sizeHint() - m_tabView->sizeHint() + QSize(width, height));
  m_tabView->setMinimumWidth(width + style()->pixelMetric(QStyle::PM_ScrollBarExtent));
}

void TDXPreferencesWindow::SwitchView(int page) {
  m_tabView->setCurrentIndex(page);
  setWindowTitle(m_titles->item(page)->text());
}

}  // namespace quill
