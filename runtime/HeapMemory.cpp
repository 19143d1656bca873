#include "runtime/HeapMemory.h"

#include <cstdlib> // defines __GLIBC__ on glibc

#if defined(__GLIBC__)
#include <malloc.h>
#endif

void limitHeapArenas() {
#if defined(__GLIBC__)
    mallopt(M_ARENA_MAX, heapArenas);
#endif
}

void releaseFreeHeapPages() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}
