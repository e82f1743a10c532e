// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/decoders_page.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableView>

#include "core/configuration.h"
#include "ui/preferences/decoder_table_model.h"
#include "ui/widgets/move_buttons.h"

namespace quill {
namespace {

constexpr const char* kSettingKey = "audioDecoders";

}  // namespace

CDecodersPage::CDecodersPage()
    : m_decoders(new CDecoderTableModel(this)), m_decodersView(new QTableView) {
  auto* const intro = new QLabel(
      tr("The first decoder in the list that is switched on and names a file's extension reads the "
         "file; * stands for any extension."));
  intro->setWordWrap(true);

  CDecoderTable::Rows rows;
  (void)CDecoderTable::LoadDecoders(&rows);
  m_decoders->SetRows(std::move(rows));
  m_decodersView->setModel(m_decoders);
  m_decodersView->setAccessibleName(tr("Decoders"));
  m_decodersView->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_decodersView->setSelectionMode(QAbstractItemView::SingleSelection);
  m_decodersView->setShowGrid(false);
  m_decodersView->setTabKeyNavigation(false);
  m_decodersView->verticalHeader()->hide();
  m_decodersView->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
  m_decodersView->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
  m_decodersView->horizontalHeader()->setStretchLastSection(true);
  m_decodersView->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  m_decodersView->horizontalHeader()->setHighlightSections(false);
  m_decodersView->selectRow(0);

  auto* const table = new QHBoxLayout;
  table->setSpacing(4);
  table->addWidget(m_decodersView);
  table->addWidget(new CMoveButtons(
      m_decodersView, m_decodersView->accessibleName(),
      [this](int step) { m_decoders->Move(m_decodersView->currentIndex().row(), step); }, this));
  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(intro);
  layout->addLayout(table);
}

void CDecodersPage::ResetDefaults() {
  CDecoderTable::Rows rows;
  (void)CDecoderTable::LoadDefaults(&rows);
  m_decoders->SetRows(std::move(rows));
  m_decodersView->selectRow(0);
}

void CDecodersPage::Store() {
  // A field being edited hands over its text when it loses the focus.
  if (QWidget* const focus = m_decodersView->focusWidget()) focus->clearFocus();
  CConfiguration::Instance().SetList(kSettingKey, CDecoderTable::ToSetting(m_decoders->Rows()));
}

}  // namespace quill
