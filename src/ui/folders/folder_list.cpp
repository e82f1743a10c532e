// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/folders/folder_list.h"

#include <QString>
#include <filesystem>
#include <string_view>

#include "core/base64m.h"

namespace quill {
namespace {

// Two names that differ in bytes that are no UTF-8 must stay two names, so only whole valid names
// are folded as text.
std::string FoldName(std::string_view name) {
  const QByteArray bytes(name.data(), static_cast<qsizetype>(name.size()));
  const QString text = QString::fromUtf8(bytes);
  return (text.toUtf8() == bytes ? text.toLower().toUtf8() : bytes.toLower()).toStdString();
}

// With a '/' behind each name, so that a common start is a common folder.
std::string CompareForm(std::string_view path) {
  std::string form;
  while (!path.empty()) {
    const size_t end = path.find('/');
    form += FoldName(path.substr(0, end)) + '/';
    path.remove_prefix(end == path.npos ? path.size() : end + 1);
  }
  return form;
}

}  // namespace

std::string ListedPath(const std::string& path) {
  if (!path.starts_with('/')) return {};
  std::string listed = std::filesystem::path(path).lexically_normal().native();
  while (listed.size() > 1 && listed.ends_with('/')) listed.pop_back();
  return listed;
}

FolderAddition PlanAddition(const std::vector<TDXSelectedFolder>& list, const std::string& path) {
  FolderAddition addition;
  const std::string added = CompareForm(path);
  for (size_t i = 0; i < list.size(); ++i) {
    const std::string present = CompareForm(list[i].path);
    if (added.starts_with(present)) return {.coveredBy = i, .replaced = {}};
    if (present.starts_with(added)) addition.replaced.push_back(i);
  }
  return addition;
}

std::vector<std::string> FoldersToSetting(const std::vector<TDXSelectedFolder>& list) {
  std::vector<std::string> setting;
  for (const TDXSelectedFolder& folder : list) {
    std::string text;
    if (!EncodeBase64M({folder.path.begin(), folder.path.end()}, 0, &text)) continue;
    setting.push_back(std::move(text));
    if (folder.groupId >= 1 && folder.groupId <= kLastFolderGroup)
      setting.push_back(std::to_string(folder.groupId));
  }
  return setting;
}

std::vector<TDXSelectedFolder> FoldersFromSetting(const std::vector<std::string>& setting) {
  std::vector<TDXSelectedFolder> list;
  for (size_t i = 0; i < setting.size(); ++i) {
    std::vector<uint8_t> bytes;
    const bool decoded = !setting[i].empty() && DecodeBase64M(setting[i], &bytes);
    TDXSelectedFolder folder{.path = ListedPath({bytes.begin(), bytes.end()}), .groupId = 0};
    // A path takes two characters at least, so one alone is a group and never the next folder.
    if (i + 1 < setting.size() && setting[i + 1].size() == 1) {
      const char digit = setting[++i][0];
      if (digit >= '1' && digit <= '0' + kLastFolderGroup)
        folder.groupId = static_cast<uint8_t>(digit - '0');
    }
    const bool whole = folder.path.find('\0') == std::string::npos;
    if (decoded && whole && !folder.path.empty()) list.push_back(std::move(folder));
  }
  return list;
}

}  // namespace quill
