// SPDX-License-Identifier: GPL-3.0-or-later
// The settings on disk: one INI file that a user can read and edit. Numbers and truth values come
// back as text, which CConfiguration reads. A list is kept with a mark as its first element, since
// the file format cannot tell an empty list from none and a list of one from a text. Any thread.
#pragma once

#include <QSettings>
#include <string>

#include "core/settings_store.h"

namespace quill {

class CIniSettingsStore : public CSettingsStore {
 public:
  // The file is made at the first write.
  explicit CIniSettingsStore(const std::string& path);

  [[nodiscard]] std::optional<CSettingValue> Get(std::string_view key) const override;
  void Set(std::string_view key, const CSettingValue& value) override;
  void Remove(std::string_view key) override;
  void Register(const CSettingDefaults& defaults) override;

 private:
  mutable CSync m_sync;
  QSettings m_file GUARDED_BY(m_sync);
  CSettingDefaults m_registered GUARDED_BY(m_sync);
};

}  // namespace quill
