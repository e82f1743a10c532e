// SPDX-License-Identifier: GPL-3.0-or-later
// Page of the preferences: which measures take part in a scan, and from which score on a pair is
// reported. Main thread.
#pragma once

#include <vector>

#include "ui/preferences/settings_page.h"

class QGridLayout;

namespace quill {

class CGeneralPage : public CSettingsPage {
 public:
  CGeneralPage();

 private:
  void AddMeasure(QGridLayout* grid, const QString& text, const QString& tip, const char* enableKey,
                  const char* valueKey);
  void AddDuration(QGridLayout* grid);

  std::vector<QCheckBox*> m_measures;
};

}  // namespace quill
