#include "runtime/HeapMemory.h"

#include <cstdlib> // defines __GLIBC__ on glibc

#if defined(__GLIBC__)
#include <malloc.h>
#endif

void releaseFreeHeapPages() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}
