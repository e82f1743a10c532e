// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/ordered_list.h"

#include <QHBoxLayout>
#include <QListWidget>

#include "ui/widgets/move_buttons.h"

namespace quill {

COrderedList::COrderedList(const QString& name, QWidget* parent)
    : QWidget(parent), m_list(new QListWidget) {
  m_list->setAccessibleName(name);
  m_list->setUniformItemSizes(true);
  m_list->setTextElideMode(Qt::ElideMiddle);
  m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  m_list->setDragDropMode(QAbstractItemView::InternalMove);
  m_list->setDefaultDropAction(Qt::MoveAction);
  setFocusProxy(m_list);

  auto* const layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(4);
  layout->addWidget(m_list);
  layout->addWidget(new CMoveButtons(m_list, name, [this](int step) { Move(step); }, this));
}

void COrderedList::SetEntries(const QStringList& texts, const QStringList& tips) {
  m_list->clear();
  for (int i = 0; i < texts.size(); ++i) {
    auto* const item = new QListWidgetItem(texts[i]);
    item->setData(Qt::UserRole, i);
    item->setToolTip(tips.value(i));
    // Entries fall between others, never onto one.
    item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
    m_list->addItem(item);
  }
  m_list->setCurrentRow(0);
}

std::vector<size_t> COrderedList::Order() const {
  std::vector<size_t> order;
  for (int row = 0; row < m_list->count(); ++row)
    order.push_back(static_cast<size_t>(m_list->item(row)->data(Qt::UserRole).toInt()));
  return order;
}

void COrderedList::Move(int step) {
  const int row = m_list->currentRow();
  const int target = row + step;
  if (row < 0 || target < 0 || target >= m_list->count()) return;
  QListWidgetItem* const item = m_list->takeItem(row);
  m_list->insertItem(target, item);
  m_list->setCurrentRow(target);
}

}  // namespace quill
