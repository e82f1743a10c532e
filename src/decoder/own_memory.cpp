#include "decoder/own_memory.h"

#include <unistd.h>

#include <cstdio>

namespace quill::decoder {

uint64_t OwnMemory() {
  std::FILE* file = std::fopen("/proc/self/statm", "re");
  if (file == nullptr) return 0;
  unsigned long total = 0;
  unsigned long resident = 0;
  const int fields = std::fscanf(file, "%lu %lu", &total, &resident);
  std::fclose(file);
  return fields == 2 ? uint64_t{resident} * static_cast<uint64_t>(sysconf(_SC_PAGESIZE)) : 0;
}

}  // namespace quill::decoder
