// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/settings_store.h"

namespace quill {

std::optional<CSettingValue> CMemorySettingsStore::Get(std::string_view key) const {
  CSyncLock lock(m_sync);
  if (const auto stored = m_values.find(key); stored != m_values.end()) return stored->second;
  if (const auto registered = m_registered.find(key); registered != m_registered.end())
    return registered->second;
  return std::nullopt;
}

void CMemorySettingsStore::Set(std::string_view key, const CSettingValue& value) {
  CSyncLock lock(m_sync);
  m_values.insert_or_assign(std::string(key), value);
}

void CMemorySettingsStore::Remove(std::string_view key) {
  CSyncLock lock(m_sync);
  if (const auto stored = m_values.find(key); stored != m_values.end()) m_values.erase(stored);
}

void CMemorySettingsStore::Register(const CSettingDefaults& defaults) {
  CSyncLock lock(m_sync);
  for (const auto& [key, value] : defaults) m_registered.insert_or_assign(key, value);
}

}  // namespace quill
