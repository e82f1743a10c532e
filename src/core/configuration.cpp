// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/configuration.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <limits>
#include <system_error>

#include "core/system_error.h"

namespace quill {
namespace {

// A store that keeps text only gives numbers and booleans back as strings. 0 when unreadable.
double ReadText(std::string_view text) {
  if (text == "true") return 1;
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && std::isfinite(number) ? number : 0;
}

double ReadNumber(const CSettingValue& value) {
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? 1 : 0;
  if (const auto* integer = std::get_if<int32_t>(&value)) return *integer;
  if (const auto* number = std::get_if<double>(&value)) return std::isfinite(*number) ? *number : 0;
  if (const auto* text = std::get_if<std::string>(&value)) return ReadText(*text);
  return 0;
}

// A number that the type cannot hold is as unreadable as text.
template <class T>
T Narrow(double number) {
  const bool held = number >= static_cast<double>(std::numeric_limits<T>::lowest()) &&
                    number <= static_cast<double>(std::numeric_limits<T>::max());
  return held ? static_cast<T>(number) : T{};
}

std::string PathIn(const std::string& folder, const char* fileName) {
  if (folder.empty()) return {};
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (!std::filesystem::is_directory(folder, error)) return {};
  if (fileName == nullptr) return folder;
  return folder + (folder.ends_with('/') ? "" : "/") + fileName;
}

}  // namespace

CConfiguration& CConfiguration::Instance() {
  static CConfiguration configuration;
  return configuration;
}

void CConfiguration::SetFolders(std::string support, std::string logs) {
  m_supportFolder = std::move(support);
  m_logsFolder = std::move(logs);
}

std::optional<CSettingValue> CConfiguration::Get(std::string_view key) const {
  return m_store != nullptr ? m_store->Get(key) : std::nullopt;
}

void CConfiguration::Set(std::string_view key, const CSettingValue& value) {
  if (m_store != nullptr) m_store->Set(key, value);
}

int32_t CConfiguration::GetInteger(std::string_view key, int32_t fallback) const {
  const auto value = Get(key);
  return value ? Narrow<int32_t>(ReadNumber(*value)) : fallback;
}

void CConfiguration::SetInteger(std::string_view key, int32_t value) {
  Set(key, value);
}

bool CConfiguration::GetBool(std::string_view key, bool fallback) const {
  const auto value = Get(key);
  return value ? ReadNumber(*value) == 1 : fallback;
}

void CConfiguration::SetBool(std::string_view key, bool value) {
  Set(key, value);
}

float CConfiguration::GetFloat(std::string_view key, float fallback) const {
  const auto value = Get(key);
  return value ? Narrow<float>(ReadNumber(*value)) : fallback;
}

void CConfiguration::SetFloat(std::string_view key, float value) {
  Set(key, static_cast<double>(value));
}

std::string CConfiguration::GetString(std::string_view key, std::string_view fallback) const {
  const auto value = Get(key);
  if (!value) return std::string(fallback);
  const auto* const text = std::get_if<std::string>(&*value);
  return text != nullptr ? *text : std::string();
}

void CConfiguration::SetString(std::string_view key, std::string_view value) {
  Set(key, std::string(value));
}

bool CConfiguration::GetList(const char* key, std::vector<std::string>* list) const {
  if (list != nullptr) list->clear();
  if (key == nullptr || list == nullptr) return CSystemError::Bool("GetList", 57, false);
  const auto value = Get(key);
  if (!value) return false;
  if (const auto* strings = std::get_if<std::vector<std::string>>(&*value)) *list = *strings;
  // A text-only store does not tell a list of one from a string.
  if (const auto* text = std::get_if<std::string>(&*value); text != nullptr && !text->empty())
    list->push_back(*text);
  return true;
}

void CConfiguration::SetList(const char* key, const std::vector<std::string>& list) {
  if (key != nullptr) Set(key, list);
}

bool CConfiguration::GetBytes(std::string_view key, CByteBlock* bytes) const {
  const auto value = Get(key);
  const auto* const block = value ? std::get_if<CByteBlock>(&*value) : nullptr;
  if (block == nullptr) return false;
  *bytes = *block;
  return true;
}

void CConfiguration::SetBytes(std::string_view key, const CByteBlock& bytes) {
  Set(key, bytes);
}

void CConfiguration::Remove(std::string_view key) {
  if (m_store != nullptr) m_store->Remove(key);
}

void CConfiguration::Rename(std::string_view from, std::string_view to) {
  const auto value = Get(from);
  if (!value) return;
  if (!Get(to)) Set(to, *value);
  Remove(from);
}

void CConfiguration::Register(const CSettingDefaults& defaults) {
  if (m_store != nullptr) m_store->Register(defaults);
}

std::string CConfiguration::ApplicationSupportPath(const char* fileName) const {
  return PathIn(m_supportFolder, fileName);
}

std::string CConfiguration::LogsPath(const char* fileName) const {
  return PathIn(m_logsFolder, fileName);
}

}  // namespace quill
