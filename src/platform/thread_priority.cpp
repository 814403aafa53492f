#include "platform/thread_priority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fmconv::platform {

void LowerCurrentThreadPriority() {
#ifdef __linux__
    // On Linux the nice value is per thread.
    const auto tid = static_cast<id_t>(::syscall(SYS_gettid));
    ::setpriority(PRIO_PROCESS, tid, 19);
#endif
}

}  // namespace fmconv::platform
