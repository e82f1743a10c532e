// SPDX-License-Identifier: GPL-3.0-or-later
// One user of a data folder at a time: an advisory lock on a file in it, held until the object or
// the process goes. Two programs over one folder would write each other's cache and results away.
#pragma once

#include <cstdint>
#include <string>

namespace quill {

class CDataLock {
 public:
  enum class Result { kLocked, kTaken, kFailed };

  CDataLock() = default;
  ~CDataLock();
  CDataLock(const CDataLock&) = delete;
  CDataLock& operator=(const CDataLock&) = delete;

  // kTaken: another program holds it. kFailed: the file cannot be made; errno tells why.
  [[nodiscard]] Result Lock(const std::string& path);

 private:
  int32_t m_file = -1;
};

}  // namespace quill
