#include "ui/widgets/ordered_list.h"

#include <QAction>
#include <QHBoxLayout>
#include <QListWidget>
#include <QToolButton>

#include "ui/widgets/icons.h"

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

  auto* const buttons = new QVBoxLayout;
  buttons->setSpacing(2);
  const auto make = [&](const char* icon, const QString& text, int key, int step) {
    auto* const action = new QAction(Icon(icon), text, this);
    action->setShortcut(QKeySequence(Qt::ALT | key));
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setToolTip(
        QStringLiteral("%1 (%2)").arg(text, action->shortcut().toString(QKeySequence::NativeText)));
    connect(action, &QAction::triggered, this, [this, step] { Move(step); });
    addAction(action);
    auto* const button = new QToolButton;
    button->setDefaultAction(action);
    button->setFocusPolicy(Qt::TabFocus);
    button->setAccessibleName(QStringLiteral("%1: %2").arg(name, text));
    buttons->addWidget(button);
    return action;
  };
  m_up = make("go-up", tr("Move up"), Qt::Key_Up, -1);
  m_down = make("go-down", tr("Move down"), Qt::Key_Down, 1);
  buttons->addStretch();

  auto* const layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(4);
  layout->addWidget(m_list);
  layout->addLayout(buttons);
  connect(m_list, &QListWidget::currentRowChanged, this, &COrderedList::UpdateActions);
  connect(m_list->model(), &QAbstractItemModel::rowsInserted, this, &COrderedList::UpdateActions);
  connect(m_list->model(), &QAbstractItemModel::rowsMoved, this, &COrderedList::UpdateActions);
  UpdateActions();
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

void COrderedList::UpdateActions() {
  const int row = m_list->currentRow();
  m_up->setEnabled(row > 0);
  m_down->setEnabled(row >= 0 && row + 1 < m_list->count());
}

}  // namespace quill
