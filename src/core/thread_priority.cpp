#include "core/thread_priority.h"

#include <linux/ioprio.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quill {

void GiveWayToOthers() {
  const sched_param parameters{};
  sched_setscheduler(0, SCHED_BATCH, &parameters);
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 19);
  syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0));
}

}  // namespace quill
