// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers of the kernel's interface that its own headers tell in C only: such a header need not
// compile as C++, and one update has shown it. They are fixed for good, as programs carry them.
#pragma once

#include <sys/ioctl.h>

namespace quill::kernel {

// ioprio_set(2): whose priority, and the class that gets the disk when nobody else wants it. The
// class stands above 13 bits of level.
inline constexpr int kIoPriorityOfProcess = 1;
inline constexpr int kIoClassShift = 13;
inline constexpr int kIoClassIdle = 3;

// ioctl_iflags(2): flags of a file that keep it from being changed or removed.
inline constexpr unsigned long kGetFileFlags = _IOR('f', 1, long);
inline constexpr unsigned long kSetFileFlags = _IOW('f', 2, long);
inline constexpr int kImmutableFlag = 0x10;
inline constexpr int kAppendOnlyFlag = 0x20;

// statfs(2): the type of a file system that lies in memory.
inline constexpr long kTmpfsType = 0x01021994;

}  // namespace quill::kernel
