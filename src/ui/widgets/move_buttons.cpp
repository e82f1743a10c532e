// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/widgets/move_buttons.h"

#include <QAbstractItemView>
#include <QAction>
#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

#include "ui/widgets/icons.h"

namespace quill {

CMoveButtons::CMoveButtons(QAbstractItemView* view, const QString& name,
                           std::function<void(int step)> move, QWidget* owner)
    : QWidget(owner), m_view(view) {
  auto* const buttons = new QVBoxLayout(this);
  buttons->setContentsMargins(0, 0, 0, 0);
  buttons->setSpacing(2);
  const auto make = [&](const char* icon, const QString& text, int key, int step) {
    auto* const action = new QAction(Icon(icon), text, this);
    action->setShortcut(QKeySequence(Qt::ALT | key));
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setToolTip(
        QStringLiteral("%1 (%2)").arg(text, action->shortcut().toString(QKeySequence::NativeText)));
    connect(action, &QAction::triggered, this, [move, step] { move(step); });
    owner->addAction(action);
    auto* const button = new QToolButton;
    button->setDefaultAction(action);
    button->setFocusPolicy(Qt::TabFocus);
    button->setAccessibleName(QStringLiteral("%1: %2").arg(name, text));
    buttons->addWidget(button);
    return action;
  };
  m_up = make("go-up", QObject::tr("Move up"), Qt::Key_Up, -1);
  m_down = make("go-down", QObject::tr("Move down"), Qt::Key_Down, 1);
  buttons->addStretch();
  connect(view->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          &CMoveButtons::UpdateActions);
  for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
    connect(view->model(), signal, this, &CMoveButtons::UpdateActions);
  connect(view->model(), &QAbstractItemModel::rowsMoved, this, &CMoveButtons::UpdateActions);
  UpdateActions();
}

void CMoveButtons::UpdateActions() {
  const int row = m_view->currentIndex().row();
  m_up->setEnabled(row > 0);
  m_down->setEnabled(row >= 0 && row + 1 < m_view->model()->rowCount());
}

}  // namespace quill
