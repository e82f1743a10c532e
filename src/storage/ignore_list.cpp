// SPDX-License-Identifier: GPL-3.0-or-later
#include "storage/ignore_list.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "core/system_error.h"
#include "storage/file.h"

namespace quill {

namespace {

constexpr size_t kPiece = 65536;            // text beyond this is written out
constexpr size_t kTypicalEntry = 200;       // bytes of text
constexpr const char* kTemporary = ".new";  // behind the list's own name

}  // namespace

int CIgnoreList::Order::Compare(std::string_view first, std::string_view second,
                                const Entry& entry) {
  const int order = first.compare(entry.first);
  return order != 0 ? order : second.compare(entry.second);
}

bool CIgnoreList::LoadIgnores(const std::string& path) {
  std::string text;
  {
    CFile file;
    if (!file.Open(path, CFile::kRead)) return false;
    text.resize(file.Size());
    if (!file.Read(text.data(), text.size())) return CSystemError::Bool("LoadIgnores", 315, false);
  }
  const std::string_view all = text;
  // The text between the quote at `open` and the next one; `open` moves behind that.
  const auto quoted = [all](size_t* open, std::string_view* string) {
    const size_t begin = *open + 1;
    const size_t end = all.find('"', begin);
    if (end == std::string_view::npos) return false;
    *string = all.substr(begin, end - begin);
    *open = end + 1;
    return true;
  };
  size_t at = 0;
  while ((at = all.find('"', at)) != std::string_view::npos) {
    std::string_view first, second;
    if (!quoted(&at, &first)) break;
    at = all.find_first_of("\r\n\"", at);
    if (at == std::string_view::npos) break;
    if (all[at] != '"') {
      AddIgnore(first);
    } else {
      if (!quoted(&at, &second)) break;
      AddIgnore(first, second);
    }
  }
  return true;
}

bool CIgnoreList::SaveIgnores(const std::string& path) const {
  const std::string temporary = path + kTemporary;
  CReadLock lock(m_lock);
  CFile file;
  if (!file.Open(temporary, CFile::kTruncate)) return CSystemError::Bool("SaveIgnores", 366, false);
  const auto fail = [&temporary](int32_t line) {
    CSystemError::Bool("SaveIgnores", line, false);
    unlink(temporary.c_str());
    return false;
  };
  std::string text;
  text.reserve(std::min(m_entries.Count() * kTypicalEntry, 2 * kPiece));
  for (const Entry* entry = m_entries.Next(nullptr); entry; entry = m_entries.Next(entry)) {
    text.append("\"").append(entry->first);
    if (!entry->second.empty()) text.append("\",\"").append(entry->second);
    text.append("\"\r\n");
    if (text.size() > kPiece) {
      if (!file.Write(text.data(), text.size())) return fail(384);
      text.clear();
    }
  }
  if (!text.empty() && !file.Write(text.data(), text.size())) return fail(389);
  file.Close();
  if (rename(temporary.c_str(), path.c_str()) != 0) return fail(389);
  return true;
}

bool CIgnoreList::AddIgnore(std::string_view first, std::string_view second) {
  if (first.empty() || second.empty()) return CSystemError::Bool("AddIgnore", 398, false);
  CWriteLock lock(m_lock);
  if (m_entries.Find(second, first) != nullptr) return false;
  return Add(first, second, 405);
}

bool CIgnoreList::AddIgnore(std::string_view path) {
  if (path.empty()) return CSystemError::Bool("AddIgnore", 414, false);
  CWriteLock lock(m_lock);
  return Add(path, {}, 421);
}

bool CIgnoreList::Add(std::string_view first, std::string_view second, int32_t failLine) {
  if (m_entries.Find(first, second) != nullptr) return false;
  if (m_entries.Add({std::string(first), std::string(second)}) == nullptr)
    return CSystemError::Bool("AddIgnore", failLine, false);
  return true;
}

bool CIgnoreList::IsPairIgnored(std::string_view first, std::string_view second) const {
  CReadLock lock(m_lock);
  return m_entries.Find(first, second) != nullptr || m_entries.Find(second, first) != nullptr;
}

bool CIgnoreList::IsFileIgnored(std::string_view path) const {
  CReadLock lock(m_lock);
  return m_entries.Find(path, std::string_view()) != nullptr;
}

void CIgnoreList::Clear(const std::string& path) {
  unlink(path.c_str());
  CWriteLock lock(m_lock);
  m_entries.Clear();
}

uint32_t CIgnoreList::Count() const {
  CReadLock lock(m_lock);
  return m_entries.Count();
}

}  // namespace quill
