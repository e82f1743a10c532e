// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/ini_settings_store.h"

#include <QByteArray>
#include <QStringList>
#include <QVariant>
#include <algorithm>

namespace quill {

namespace {

constexpr const char* kListMark = "list:";

QString FromUtf8(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVariant ToVariant(const CSettingValue& value) {
  struct Visitor {
    QVariant operator()(bool truth) const { return truth; }
    QVariant operator()(int32_t number) const { return number; }
    QVariant operator()(double number) const { return number; }
    QVariant operator()(const std::string& text) const { return FromUtf8(text); }
    QVariant operator()(const std::vector<std::string>& list) const {
      QStringList strings(QString::fromLatin1(kListMark));
      for (const std::string& text : list) strings.append(FromUtf8(text));
      return strings;
    }
    QVariant operator()(const CByteBlock& bytes) const {
      return QByteArray(reinterpret_cast<const char*>(bytes.data()),
                        static_cast<qsizetype>(bytes.size()));
    }
  };
  return std::visit(Visitor{}, value);
}

CSettingValue FromVariant(const QVariant& variant) {
  switch (variant.typeId()) {
    case QMetaType::Bool:
      return variant.toBool();
    case QMetaType::Int:
      return variant.toInt();
    case QMetaType::Double:
      return variant.toDouble();
    case QMetaType::QByteArray: {
      const QByteArray bytes = variant.toByteArray();
      return CByteBlock(bytes.begin(), bytes.end());
    }
    default:
      break;
  }
  const QStringList strings = variant.toStringList();
  if (!strings.isEmpty() && strings.first() == QLatin1String(kListMark)) {
    std::vector<std::string> list;
    std::transform(strings.begin() + 1, strings.end(), std::back_inserter(list),
                   [](const QString& text) { return text.toStdString(); });
    return list;
  }
  // A text with commas that somebody wrote by hand reads as a list of strings.
  return strings.join(QLatin1String(", ")).toStdString();
}

}  // namespace

CIniSettingsStore::CIniSettingsStore(const std::string& path)
    : m_file(QString::fromLocal8Bit(path.c_str()), QSettings::IniFormat) {}

std::optional<CSettingValue> CIniSettingsStore::Get(std::string_view key) const {
  CSyncLock lock(m_sync);
  const QString name = FromUtf8(key);
  if (m_file.contains(name)) return FromVariant(m_file.value(name));
  const auto registered = m_registered.find(key);
  if (registered == m_registered.end()) return std::nullopt;
  return registered->second;
}

void CIniSettingsStore::Set(std::string_view key, const CSettingValue& value) {
  CSyncLock lock(m_sync);
  m_file.setValue(FromUtf8(key), ToVariant(value));
}

void CIniSettingsStore::Remove(std::string_view key) {
  CSyncLock lock(m_sync);
  m_file.remove(FromUtf8(key));
}

void CIniSettingsStore::Register(const CSettingDefaults& defaults) {
  CSyncLock lock(m_sync);
  for (const auto& [key, value] : defaults) m_registered.insert_or_assign(key, value);
}

}  // namespace quill
