// SPDX-License-Identifier: GPL-3.0-or-later
// The program's two pipe ends: words, strings and blocks from and to the application. The
// descriptors are non-blocking; reading and writing wait for them. What is written goes out when
// the program next waits for input, so that a reply wakes the application once.
//
// The program has no purpose without its application: when a pipe is closed or fails, every
// function here ends the process and does not return. For the main thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quill::decoder {

class CPipe {
 public:
  CPipe(int readDescriptor, int writeDescriptor)
      : m_readDescriptor(readDescriptor), m_writeDescriptor(writeDescriptor) {}
  CPipe(const CPipe&) = delete;
  CPipe& operator=(const CPipe&) = delete;

  void Read(void* buffer, size_t length);
  [[nodiscard]] uint32_t ReadWord();
  // A 16-bit byte count, then the bytes.
  [[nodiscard]] std::string ReadString();

  void Write(const void* buffer, size_t length);
  void WriteWord(uint32_t word) { Write(&word, sizeof word); }
  // Shorter than wire::kStringLimit.
  void WriteString(std::string_view text);
  void Flush();

 private:
  void Fill();

  const int m_readDescriptor;
  const int m_writeDescriptor;
  std::vector<uint8_t> m_input = std::vector<uint8_t>(4096);
  size_t m_inputStart = 0;  // the unread bytes are [m_inputStart, m_inputEnd)
  size_t m_inputEnd = 0;
  std::vector<uint8_t> m_output;
};

}  // namespace quill::decoder
