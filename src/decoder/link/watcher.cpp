// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/link/watcher.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <thread>

namespace quill::decoder {

void StartWatcher(int readDescriptor, int writeDescriptor) {
  std::thread([=] {
    // With no events asked for, poll reports only the end of a pipe.
    std::array<pollfd, 2> ends{{{readDescriptor, 0, 0}, {writeDescriptor, 0, 0}}};
    while (poll(ends.data(), ends.size(), -1) <= 0) {
    }
    _exit(0);
  }).detach();
}

}  // namespace quill::decoder
