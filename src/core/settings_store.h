// SPDX-License-Identifier: GPL-3.0-or-later
// The store of the settings as the engine sees it: a flat map from key to value with a layer of
// registered defaults under the stored values. The platform keeps it on disk, the command line lays
// one-run values over it, tests keep it in memory. Safe to call from any thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/sync.h"

namespace quill {

using CByteBlock = std::vector<uint8_t>;
using CSettingValue =
    std::variant<bool, int32_t, double, std::string, std::vector<std::string>, CByteBlock>;
using CSettingDefaults = std::map<std::string, CSettingValue, std::less<>>;

class CSettingsStore {
 public:
  virtual ~CSettingsStore() = default;

  // The stored value, else the registered one, else nothing. A store that keeps text only may give
  // a number or a boolean back as a string: CConfiguration reads those too.
  [[nodiscard]] virtual std::optional<CSettingValue> Get(std::string_view key) const = 0;
  virtual void Set(std::string_view key, const CSettingValue& value) = 0;
  // Removes the stored value, so that the registered one shows through again.
  virtual void Remove(std::string_view key) = 0;
  // Adds to the layer of registered defaults; it is not kept on disk.
  virtual void Register(const CSettingDefaults& defaults) = 0;
};

// A store that lives in memory: for tests, and for runs that must leave nothing behind.
class CMemorySettingsStore : public CSettingsStore {
 public:
  [[nodiscard]] std::optional<CSettingValue> Get(std::string_view key) const override;
  void Set(std::string_view key, const CSettingValue& value) override;
  void Remove(std::string_view key) override;
  void Register(const CSettingDefaults& defaults) override;

 private:
  mutable CSync m_sync;
  CSettingDefaults m_values GUARDED_BY(m_sync);
  CSettingDefaults m_registered GUARDED_BY(m_sync);
};

}  // namespace quill
