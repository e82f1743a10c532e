// SPDX-License-Identifier: GPL-3.0-or-later
// A page of the preferences whose controls stand for settings: a control shows the stored value or
// else the registered one, and writes at once what the user changes. Main thread.
#pragma once

#include <QCheckBox>
#include <QWidget>
#include <functional>
#include <vector>

#include "core/settings_store.h"

class QSlider;
class QSpinBox;

namespace quill {

class CPercentSlider;

class CPreferencesPage : public QWidget {
 public:
  using QWidget::QWidget;
  virtual void ResetDefaults() = 0;
};

class CSettingsPage : public CPreferencesPage {
 public:
  // Removes every setting of the group from the store, also those with no control here.
  void ResetDefaults() override;

 protected:
  // `group` is the registered group of defaults that the page is for; all keys below are of it.
  explicit CSettingsPage(const CSettingDefaults& group) : m_group(group) {}

  void Bind(QCheckBox* box, const char* key);
  void Bind(CPercentSlider* slider, const char* key);
  // A slider of whole percents.
  void Bind(QSlider* slider, const char* key);
  void Bind(QSpinBox* field, const char* key);
  // Shows the settings in all controls.
  void ShowSettings();

 private:
  template <class T>
  [[nodiscard]] T Default(const char* key) const;

  const CSettingDefaults& m_group;
  std::vector<std::function<void()>> m_show;  // by control
  bool m_showing = false;                     // what changes now is not the user's doing
};

}  // namespace quill
