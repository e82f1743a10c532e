// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/link/shared_map.h"

#include <sys/mman.h>
#include <unistd.h>

#include "decoding/wire.h"

namespace quill::decoder {

std::span<uint8_t> CSharedMap::Provide(uint32_t size) {
  if (m_size < size) {
    Drop();
    m_pipe.WriteWord(wire::kResizeMap);
    m_pipe.WriteWord(size);
    if (m_pipe.ReadWord() != wire::kResizeMap) _exit(1);
    const auto descriptor = static_cast<int>(m_pipe.ReadWord());
    const uint32_t granted = m_pipe.ReadWord();
    if (granted < size) return {};
    void* map = mmap(nullptr, granted, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (map == MAP_FAILED) return {};
    m_map = static_cast<uint8_t*>(map);
    m_size = granted;
  }
  return {m_map, m_size};
}

void CSharedMap::Drop() {
  if (m_map != nullptr) munmap(m_map, m_size);
  m_map = nullptr;
  m_size = 0;
}

}  // namespace quill::decoder
