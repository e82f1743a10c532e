// SPDX-License-Identifier: GPL-3.0-or-later
// Two buttons beside a list that move its current row up and down, with Alt and the arrow keys as
// their shortcuts. They are enabled as far as the row can go. Main thread.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>

class QAbstractItemView;
class QAction;

namespace quill {

class CMoveButtons : public QWidget {
 public:
  // `view` must have its model and outlive the buttons. `name` is what the list holds, for those
  // who have the window read out. The shortcuts hold wherever the focus is within `owner`, which
  // becomes the parent. `move` gets -1 or 1 and moves the row, and the current index with it.
  CMoveButtons(QAbstractItemView* view, const QString& name, std::function<void(int step)> move,
               QWidget* owner);

 private:
  void UpdateActions();

  QAbstractItemView* m_view;
  QAction* m_up;
  QAction* m_down;
};

}  // namespace quill
