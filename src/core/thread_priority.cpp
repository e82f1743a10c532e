// SPDX-License-Identifier: GPL-3.0-or-later
#include "core/thread_priority.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "core/kernel_interface.h"

namespace quill {

void GiveWayToOthers() {
  const sched_param parameters{};
  sched_setscheduler(0, SCHED_BATCH, &parameters);
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 19);
  syscall(SYS_ioprio_set, kernel::kIoPriorityOfProcess, 0,
          kernel::kIoClassIdle << kernel::kIoClassShift);
}

}  // namespace quill
