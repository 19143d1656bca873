#include "runtime/ThreadPriority.h"

#include <cerrno>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

void lowerThreadPriority(int tid, int nice) {
    errno = 0;
    const int current = getpriority(PRIO_PROCESS, id_t(tid));
    if (errno == 0 && current < nice)
        setpriority(PRIO_PROCESS, id_t(tid), nice);
}

void lowerCurrentThreadPriority(int nice) {
    lowerThreadPriority(int(syscall(SYS_gettid)), nice);
}
