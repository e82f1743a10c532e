// SPDX-License-Identifier: GPL-3.0-or-later
// Page of the preferences: which decoders may be used, in which order, for which files. What is
// changed here is stored when the window closes. Main thread.
#pragma once

#include "ui/preferences/settings_page.h"

class QTableView;

namespace quill {

class CDecoderTableModel;

class CDecodersPage : public CPreferencesPage {
 public:
  CDecodersPage();

  void ResetDefaults() override;
  void Store();

 private:
  CDecoderTableModel* m_decoders;
  QTableView* m_decodersView;
};

}  // namespace quill
