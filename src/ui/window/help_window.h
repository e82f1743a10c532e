// SPDX-License-Identifier: GPL-3.0-or-later
// The user's guide: the pages of docs/help, built into the program, with links between them. A link
// to elsewhere opens in the desktop's browser. Main thread.
#pragma once

#include <QDialog>

namespace quill {

class CHelpWindow : public QDialog {
  Q_OBJECT

 public:
  explicit CHelpWindow(QWidget* parent);
};

}  // namespace quill
