// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/link/pipe.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quill::decoder {

namespace {

// After an unsuccessful read or write: waits until it is worth trying again, or ends the process.
void WaitOrLeave(int descriptor, short events) {
  if (errno == EINTR) return;
  if (errno != EAGAIN) _exit(0);
  pollfd wait{descriptor, events, 0};
  poll(&wait, 1, -1);
}

}  // namespace

void CPipe::Read(void* buffer, size_t length) {
  auto* target = static_cast<uint8_t*>(buffer);
  while (length > 0) {
    if (m_inputStart == m_inputEnd) Fill();
    const size_t count = std::min(length, m_inputEnd - m_inputStart);
    std::memcpy(target, m_input.data() + m_inputStart, count);
    m_inputStart += count;
    target += count;
    length -= count;
  }
}

uint32_t CPipe::ReadWord() {
  uint32_t word = 0;
  Read(&word, sizeof word);
  return word;
}

std::string CPipe::ReadString() {
  uint16_t length = 0;
  Read(&length, sizeof length);
  std::string text(length, '\0');
  Read(text.data(), text.size());
  return text;
}

void CPipe::Write(const void* buffer, size_t length) {
  const auto* bytes = static_cast<const uint8_t*>(buffer);
  m_output.insert(m_output.end(), bytes, bytes + length);
}

void CPipe::WriteString(std::string_view text) {
  const auto length = static_cast<uint16_t>(text.size());
  Write(&length, sizeof length);
  Write(text.data(), length);
}

void CPipe::Flush() {
  size_t sent = 0;
  while (sent < m_output.size()) {
    const ssize_t count = write(m_writeDescriptor, m_output.data() + sent, m_output.size() - sent);
    if (count >= 0)
      sent += static_cast<size_t>(count);
    else
      WaitOrLeave(m_writeDescriptor, POLLOUT);
  }
  m_output.clear();
}

void CPipe::Fill() {
  Flush();
  while (true) {
    const ssize_t count = read(m_readDescriptor, m_input.data(), m_input.size());
    if (count == 0) _exit(0);
    if (count > 0) {
      m_inputStart = 0;
      m_inputEnd = static_cast<size_t>(count);
      return;
    }
    WaitOrLeave(m_readDescriptor, POLLIN);
  }
}

}  // namespace quill::decoder
