// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/settings_page.h"

#include <QSlider>
#include <QSpinBox>

#include "core/configuration.h"
#include "ui/widgets/percent_slider.h"

namespace quill {

void CSettingsPage::ResetDefaults() {
  for (const auto& [key, value] : m_group) CConfiguration::Instance().Remove(key);
  ShowSettings();
}

void CSettingsPage::Bind(QCheckBox* box, const char* key) {
  m_show.emplace_back([this, box, key] {
    box->setChecked(CConfiguration::Instance().GetBool(key, Default<bool>(key)));
  });
  connect(box, &QCheckBox::toggled, this, [this, key](bool on) {
    if (!m_showing) CConfiguration::Instance().SetBool(key, on);
  });
}

void CSettingsPage::Bind(CPercentSlider* slider, const char* key) {
  m_show.emplace_back([this, slider, key] {
    slider->SetValue(
        CConfiguration::Instance().GetFloat(key, static_cast<float>(Default<double>(key))));
  });
  connect(slider, &CPercentSlider::ValueChanged, this, [this, key](float value) {
    if (!m_showing) CConfiguration::Instance().SetFloat(key, value);
  });
}

void CSettingsPage::Bind(QSlider* slider, const char* key) {
  m_show.emplace_back([this, slider, key] {
    slider->setValue(qRound(
        CConfiguration::Instance().GetFloat(key, static_cast<float>(Default<double>(key))) * 100));
  });
  connect(slider, &QSlider::valueChanged, this, [this, key](int percent) {
    if (!m_showing) CConfiguration::Instance().SetFloat(key, static_cast<float>(percent) / 100);
  });
}

void CSettingsPage::Bind(QSpinBox* field, const char* key) {
  m_show.emplace_back([this, field, key] {
    field->setValue(CConfiguration::Instance().GetInteger(key, Default<int32_t>(key)));
  });
  connect(field, &QSpinBox::valueChanged, this, [this, key](int value) {
    if (!m_showing) CConfiguration::Instance().SetInteger(key, value);
  });
}

void CSettingsPage::ShowSettings() {
  m_showing = true;
  for (const auto& show : m_show) show();
  m_showing = false;
}

template <class T>
T CSettingsPage::Default(const char* key) const {
  return std::get<T>(m_group.find(key)->second);
}

}  // namespace quill
