// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/log.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <tuple>

namespace quill {
namespace {

constexpr off_t kBlock = 65536;  // bytes mapped at a time
constexpr size_t kSanitizeBlock = 2048;

std::time_t SystemClock() {
  return std::time(nullptr);
}

std::tm UtcFields(std::time_t now) {
  std::tm fields{};
  gmtime_r(&now, &fields);
  return fields;
}

std::string FolderBesideExecutable() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return {};
  const std::string_view executable(path, static_cast<size_t>(length));
  return std::string(executable.substr(0, executable.rfind('/'))) + "/logs";
}

}  // namespace

CLog& CLog::Instance() {
  static CLog log;
  return log;
}

CLog::CLog(Clock clock) : m_clock(clock != nullptr ? clock : &SystemClock) {}

CLog::~CLog() {
  CSyncLock lock(m_sync);
  CloseFile();
}

void CLog::SetFolder(std::string_view folder) {
  CSyncLock lock(m_sync);
  CloseFile();
  if (folder.ends_with('/')) folder.remove_suffix(1);
  m_folder = folder;
}

void CLog::EchoOn() {
  CSyncLock lock(m_sync);
  m_echo = true;
}

void CLog::Line(std::string_view text) {
  CLogLine line(*this);
  line.Append(text);
}

void CLog::BeginLine() {
  m_sync.Lock();
  const std::tm now = UtcFields(m_clock());
  if (now.tm_mday != m_day) {
    CloseFile();
    m_day = now.tm_mday;
  }
  char stamp[64];
  const int length =
      std::snprintf(stamp, sizeof stamp, "%04d-%02d-%02d %02d:%02d:%02d\t", now.tm_year + 1900,
                    now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
  Write(stamp, static_cast<size_t>(length));
}

void CLog::EndLine() {
  Write("\r\n", 2);
  m_sync.Unlock();
}

void CLog::Append(std::string_view text, bool sanitize) {
  if (!sanitize) {
    Write(text.data(), text.size());
    return;
  }
  char block[kSanitizeBlock];
  while (!text.empty()) {
    const size_t length = text.copy(block, sizeof block);
    std::replace_if(
        block, block + length, [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    Write(block, length);
    text.remove_prefix(length);
  }
}

void CLog::Write(const char* bytes, size_t length) {
  if (m_file == -1 && !OpenFile()) return;
  while (length > 0) {
    if (m_cursor == m_end) {
      if (!MapBlock()) return;
      continue;  // the block of an earlier run may be full to its last byte
    }
    const size_t part = std::min(length, static_cast<size_t>(m_end - m_cursor));
    std::memcpy(m_cursor, bytes, part);
    if (m_echo) std::ignore = write(STDERR_FILENO, bytes, part);
    m_cursor += part;
    bytes += part;
    length -= part;
  }
}

bool CLog::OpenFile() {
  if (m_folder.empty()) m_folder = FolderBesideExecutable();
  if (m_folder.empty()) return false;
  mkdir(m_folder.c_str(), 0777);
  const std::tm now = UtcFields(m_clock());
  char path[PATH_MAX];
  const int length = std::snprintf(path, sizeof path, "%s/%04d-%02d-%02d.log", m_folder.c_str(),
                                   now.tm_year + 1900, now.tm_mon + 1, now.tm_mday);
  if (length >= static_cast<int>(sizeof path)) return false;
  m_file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0664);
  if (m_file == -1) return false;
  // A file system without locks is no reason to log nothing.
  if (flock(m_file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return true;
  CloseFile();
  return false;
}

bool CLog::MapBlock() {
  struct stat status{};
  if (fstat(m_file, &status) != 0) return false;
  const off_t size = status.st_size;
  off_t start = 0;
  if (m_base != nullptr) {
    munmap(m_base, kBlock);
    m_base = m_end = m_cursor = nullptr;
    start = size / kBlock * kBlock;
  } else if (size > 0) {
    start = (size - 1) / kBlock * kBlock;
  }

  // Without space reserved, a full disk would be a SIGBUS at the copy.
  const bool grown =
      ftruncate(m_file, start + kBlock) == 0 && posix_fallocate(m_file, start, kBlock) == 0;
  void* const block =
      grown ? mmap(nullptr, kBlock, PROT_READ | PROT_WRITE, MAP_SHARED, m_file, start) : MAP_FAILED;
  if (block == MAP_FAILED) {
    std::ignore = ftruncate(m_file, size);
    return false;
  }
  m_base = static_cast<char*>(block);
  m_end = m_base + kBlock;
  m_cursor = m_base + (size - start);
  // A run that ended by crash left zeros behind its text.
  while (m_cursor > m_base && m_cursor[-1] == 0) --m_cursor;
  return true;
}

void CLog::CloseFile() {
  if (m_base != nullptr) {
    struct stat status{};
    const bool known = fstat(m_file, &status) == 0;
    const off_t length = status.st_size - (m_end - m_cursor);
    munmap(m_base, kBlock);
    m_base = m_end = m_cursor = nullptr;
    if (known) std::ignore = ftruncate(m_file, length);
  }
  if (m_file != -1) close(m_file);
  m_file = -1;
}

// The analysis cannot see that m_log is the log whose mutex the line holds.
CLogLine::CLogLine(CLog& log, bool sanitize) NO_THREAD_SAFETY_ANALYSIS : m_log(log),
                                                                         m_sanitize(sanitize),
                                                                         m_errno(errno) {
  m_log.BeginLine();
}

CLogLine::~CLogLine() NO_THREAD_SAFETY_ANALYSIS {
  m_log.EndLine();
  errno = m_errno;
}

CLogLine& CLogLine::Append(const char* text) {
  return text == nullptr ? *this : Append(std::string_view(text));
}

CLogLine& CLogLine::Append(std::string_view text) NO_THREAD_SAFETY_ANALYSIS {
  m_log.Append(text, m_sanitize);
  return *this;
}

CLogLine& CLogLine::AppendInteger(int32_t value) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  return Append(std::string_view(digits, static_cast<size_t>(end - digits)));
}

}  // namespace quill
