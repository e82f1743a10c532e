// SPDX-License-Identifier: GPL-3.0-or-later
// A disk that runs full, for a child process of the test.
#pragma once

#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "core/log.h"

namespace quill::test {

// Runs the body in a child and gives its result, or the negative number of the signal that ended
// it.
template <class Body>
[[nodiscard]] int InChild(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body());
  int status = 0;
  if (child == -1 || waitpid(child, &status, 0) != child) return -1000;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// From now on no file of this process grows past `bytes`.
inline void LimitFileSize(uint64_t bytes) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = std::min<rlim_t>(bytes, limit.rlim_max);
  setrlimit(RLIMIT_FSIZE, &limit);
}

// The same while it lives; the log has its room before.
class CShortDisk {
 public:
  explicit CShortDisk(uint64_t bytes) {
    CLog::Instance().Line("room for the log");
    LimitFileSize(bytes);
  }
  ~CShortDisk() { LimitFileSize(RLIM_INFINITY); }
  CShortDisk(const CShortDisk&) = delete;
  CShortDisk& operator=(const CShortDisk&) = delete;
};

// Lays a disk of `kilobytes` over the folder, seen by this process only. False where the system
// does not allow it.
[[nodiscard]] inline bool MountSmallDisk(const std::string& folder, uint32_t kilobytes) {
  if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
  const std::string options = "size=" + std::to_string(kilobytes) + "k";
  return mount("tmpfs", folder.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

}  // namespace quill::test
