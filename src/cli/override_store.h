// SPDX-License-Identifier: GPL-3.0-or-later
// Settings of one run of the command line laid over the user's own: reads see them first, and
// writes to them stay in this run. Any thread, like the store below, which must outlive it.
#pragma once

#include <optional>
#include <string_view>

#include "core/settings_store.h"

namespace quill::cli {

class COverrideStore : public CSettingsStore {
 public:
  explicit COverrideStore(CSettingsStore& below) : m_below(below) {}

  // Before anything reads.
  void Override(std::string_view key, const CSettingValue& value) { m_overrides.Set(key, value); }

  [[nodiscard]] std::optional<CSettingValue> Get(std::string_view key) const override {
    auto value = m_overrides.Get(key);
    return value ? value : m_below.Get(key);
  }
  void Set(std::string_view key, const CSettingValue& value) override {
    if (m_overrides.Get(key))
      m_overrides.Set(key, value);
    else
      m_below.Set(key, value);
  }
  void Remove(std::string_view key) override {
    m_overrides.Remove(key);
    m_below.Remove(key);
  }
  void Register(const CSettingDefaults& defaults) override { m_below.Register(defaults); }

 private:
  CSettingsStore& m_below;
  CMemorySettingsStore m_overrides;
};

}  // namespace quill::cli
