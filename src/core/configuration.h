// SPDX-License-Identifier: GPL-3.0-or-later
// Typed access to the settings, and the two per-user folders. A process-wide singleton with no
// setting of its own: each call goes to the store that the program's start put in. Reads happen on
// the main thread; engines get their settings pushed, so no worker reads here during a scan.
// Nothing fails loudly: an unreadable value reads as its type's zero, a missing list is empty.
// Numbers and booleans are also read from their text ("0.75", "true"), which is all that some
// stores keep; a stored true reads as 1.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/settings_store.h"

namespace quill {

class CConfiguration {
 public:
  static CConfiguration& Instance();

  // Set once by the program's start before anything reads; `store` must outlive every other use.
  // With no store every read gives its fallback and every write is dropped.
  void SetStore(CSettingsStore* store) { m_store = store; }
  // `support` holds "cache.dat", "ignores.list", "autosave.quillmarsh" and the pending work,
  // `logs` the daily logs. An empty folder stands for one that the platform could not give.
  void SetFolders(std::string support, std::string logs);

  [[nodiscard]] int32_t GetInteger(std::string_view key, int32_t fallback) const;
  void SetInteger(std::string_view key, int32_t value);
  // A present value is true only if it reads as exactly 1.
  [[nodiscard]] bool GetBool(std::string_view key, bool fallback) const;
  void SetBool(std::string_view key, bool value);
  [[nodiscard]] float GetFloat(std::string_view key, float fallback) const;
  void SetFloat(std::string_view key, float value);
  [[nodiscard]] std::string GetString(std::string_view key, std::string_view fallback) const;
  void SetString(std::string_view key, std::string_view value);
  // False when the key is absent, with `list` emptied. Null arguments: a report and false.
  [[nodiscard]] bool GetList(const char* key, std::vector<std::string>* list) const;
  // Stores an array, also an empty one. A null key does nothing.
  void SetList(const char* key, const std::vector<std::string>& list);
  // False when the key is absent or is no byte block.
  [[nodiscard]] bool GetBytes(std::string_view key, CByteBlock* bytes) const;
  void SetBytes(std::string_view key, const CByteBlock& bytes);
  void Remove(std::string_view key);
  // A value under an old name becomes that of the new one, unless that has its own already. Before
  // defaults are registered.
  void Rename(std::string_view from, std::string_view to);
  void Register(const CSettingDefaults& defaults);

  // The folder, or the full path of `fileName` in it. The folder is made with all intermediates on
  // each call; empty when there is none or it cannot be made.
  [[nodiscard]] std::string ApplicationSupportPath(const char* fileName = nullptr) const;
  [[nodiscard]] std::string LogsPath(const char* fileName = nullptr) const;

 private:
  [[nodiscard]] std::optional<CSettingValue> Get(std::string_view key) const;
  void Set(std::string_view key, const CSettingValue& value);

  CSettingsStore* m_store = nullptr;  // constant after the program's start
  std::string m_supportFolder;        // constant after the program's start
  std::string m_logsFolder;           // constant after the program's start
};

}  // namespace quill
