// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/link/own_memory.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

namespace quill::decoder {

namespace {

// In bytes; all zero when the system does not tell.
struct Memory {
  uint64_t own = 0;   // resident, and neither a file's nor shared
  uint64_t data = 0;  // private and writable, touched or not
};

Memory ReadMemory() {
  std::FILE* file = std::fopen("/proc/self/statm", "re");
  if (file == nullptr) return {};
  unsigned long resident = 0;
  unsigned long shared = 0;
  unsigned long data = 0;
  const int fields = std::fscanf(file, "%*u %lu %lu %*u %*u %lu", &resident, &shared, &data);
  std::fclose(file);
  if (fields != 3) return {};
  const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  return {(resident - shared) * page, data * page};
}

}  // namespace

uint64_t OwnMemory() {
  return ReadMemory().own;
}

void LimitOwnMemory(uint64_t bytes) {
  const uint64_t limit = ReadMemory().data + bytes;
  const rlimit data{limit, limit};
  setrlimit(RLIMIT_DATA, &data);
}

}  // namespace quill::decoder
