// SPDX-License-Identifier: GPL-3.0-or-later
// A list that the user puts in order: by buttons beside it, by dragging, by Alt with the arrow
// keys. Knows its entries by number only. Main thread.
#pragma once

#include <QStringList>
#include <QWidget>
#include <vector>

class QListWidget;

namespace quill {

class COrderedList : public QWidget {
  Q_OBJECT

 public:
  // `name` is what the list holds, for those who have the window read out.
  explicit COrderedList(const QString& name, QWidget* parent = nullptr);

  // Tips may be fewer than texts.
  void SetEntries(const QStringList& texts, const QStringList& tips);
  // The numbers of the entries as they were set, from the top.
  [[nodiscard]] std::vector<size_t> Order() const;

 private:
  void Move(int step);

  QListWidget* m_list;
};

}  // namespace quill
